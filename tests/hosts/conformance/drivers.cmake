# The formats' drivers, for the suite, the benchmarks and the fuzz targets: every <Format>Driver.cpp of this folder,
# with the bundles that they open.
include_guard(GLOBAL)
file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
add_library(conformance_drivers OBJECT ${sources})
target_compile_definitions(conformance_drivers PRIVATE KELVANE_PLUGINS="${CMAKE_BINARY_DIR}/plugins"
                                                         CLAP_BINARY="${CMAKE_BINARY_DIR}/plugins/clap/kelvane/kelvane.clap"
                                                         KELVANE_PROCESSOR="${CMAKE_SYSTEM_PROCESSOR}")
qov_find(lilv lilv-0)
target_link_libraries(conformance_drivers PUBLIC hosts_window ${CMAKE_DL_LIBS}
                                          PRIVATE clap_headers vst3_headers PkgConfig::lv2 PkgConfig::lilv)
add_dependencies(conformance_drivers lv2_bundle clap_bundle vst3_bundle)
# For guardBodies.h: the plug-ins' loaders find the program's own dlopen, which no library that is linked asks for.
target_link_options(conformance_drivers INTERFACE LINKER:--export-dynamic-symbol=dlopen)
