include(${CMAKE_SOURCE_DIR}/tests/hosts/conformance/drivers.cmake)
qov_benchmark(plugins LINKS conformance_drivers)
