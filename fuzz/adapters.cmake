include(${CMAKE_SOURCE_DIR}/tests/hosts/conformance/drivers.cmake)
qov_fuzz(adapters LINKS conformance_drivers)
