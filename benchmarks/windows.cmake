include(${CMAKE_SOURCE_DIR}/tests/hosts/conformance/drivers.cmake)
qov_find(x11 x11 xext xi)
qov_benchmark(windows LINKS conformance_drivers PkgConfig::x11)
target_sources(bench_windows PRIVATE ${CMAKE_SOURCE_DIR}/tests/hosts/window/Child.cpp
                                     ${CMAKE_SOURCE_DIR}/tests/hosts/window/Screen.cpp)
target_compile_definitions(bench_windows PRIVATE KELVANE_PROGRAM="$<TARGET_FILE:kelvane>")
add_dependencies(bench_windows kelvane)
