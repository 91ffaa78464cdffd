# How this project builds: language, warnings, sanitizers, and one function a kind of target.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or Sanitize" FORCE)
endif()
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(EMSCRIPTEN)
    add_compile_options(-msimd128)
else()
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_CXX_FLAGS_SANITIZE "-O1 -g1 -fno-omit-frame-pointer")
set(CMAKE_C_FLAGS_SANITIZE "-O1 -g1 -fno-omit-frame-pointer")

set(QOV_SANITIZE "" CACHE STRING "Sanitizers for the whole build, as -fsanitize takes them")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow $<$<BOOL:${KELVANE_WERROR}>:-Werror>)
if(CMAKE_UNITY_BUILD)
    # In a group the compiler takes sources for headers, and later sources see the names of earlier ones.
    add_compile_options(-Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()
# The same input gives the same bits everywhere: no contraction, no fast-math; std::fma where it is meant.
add_compile_options(-ffp-contract=off)
if(QOV_SANITIZE)
    add_compile_options(-fsanitize=${QOV_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QOV_SANITIZE})
endif()
if(QOV_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_program(CCACHE ccache)
if(CCACHE)
    # Paths relative to the source folder, so that two checkouts share what they have compiled.
    set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# A Debian library by its pkg-config name, as the imported target PkgConfig::<alias>.
function(qov_find alias)
    if(NOT TARGET PkgConfig::${alias})
        pkg_check_modules(${alias} REQUIRED IMPORTED_TARGET GLOBAL ${ARGN})
    endif()
endfunction()

macro(qov_add_folder folder)
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt)
        add_subdirectory(${folder})
    endif()
endmacro()

# One static library a folder, from all its sources.
# LINKS: what its headers need. PRIVATE: what only its sources need (third-party libraries belong here).
function(qov_library name)
    cmake_parse_arguments(ARG "" "" "LINKS;PRIVATE" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    if(sources)
        add_library(${name} STATIC ${sources})
        target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>
                                                  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kelvane>)
        target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE})
        target_compile_features(${name} PUBLIC cxx_std_20)
    else()
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>
                                                     $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kelvane>)
        target_link_libraries(${name} INTERFACE ${ARG_LINKS})
    endif()
endfunction()

# A back end for this machine of the library of this folder: a source in a folder of the back end's name, with the pkg-config names of what
# it needs. -DKELVANE_<NAME>=OFF leaves it out; a program then brings a source of its own with the same factory.
function(qov_backend library source)
    if(EMSCRIPTEN)
        return()
    endif()
    get_filename_component(name ${source} DIRECTORY)
    string(TOUPPER KELVANE_${name} option)
    option(${option} "Build the back end ${source} of ${library}" ON)
    if(NOT ${option})
        return()
    endif()
    target_sources(${library} PRIVATE ${source})
    if(ARGN)
        qov_find(${name} ${ARGN})
        target_link_libraries(${library} PRIVATE PkgConfig::${name})
    endif()
endfunction()

# A back end for a browser, which brings all that it needs.
function(qov_browser_backend library source)
    if(EMSCRIPTEN)
        target_sources(${library} PRIVATE ${source})
    endif()
endfunction()

# Installs this folder's library and headers for others: find_package(kelvane), link kelvane::<name>, and
# include by the same names as here. What it links must be installed, too.
function(qov_install_library name)
    if(NOT KELVANE_TOOLKITS)
        return()
    endif()
    install(TARGETS ${name} EXPORT kelvane-targets COMPONENT toolkits
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelvane)
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    install(DIRECTORY ./ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvane/${folder} COMPONENT toolkits FILES_MATCHING PATTERN "*.h")
endfunction()

# The tests of one folder, as the program test_<name>; each test case is one for ctest.
# PROPERTIES: ctest properties of all of them (LABELS, RESOURCE_LOCK, TIMEOUT, ENVIRONMENT).
function(qov_test name)
    cmake_parse_arguments(ARG "" "" "LINKS;PROPERTIES" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    add_executable(test_${name} ${sources})
    target_link_libraries(test_${name} PRIVATE ${ARG_LINKS} GTest::gmock GTest::gtest_main)
    include(GoogleTest)
    if(QOV_SANITIZE MATCHES thread)
        set(suppressions ${CMAKE_SOURCE_DIR}/tools/tsan-suppressions.txt)
        list(APPEND ARG_PROPERTIES ENVIRONMENT_MODIFICATION
             "TSAN_OPTIONS=string_append: suppressions=${suppressions}")
    endif()
    if(QOV_SANITIZE MATCHES address)
        # The runtime reads a plug-in's thread-local storage wrongly where it happens to start a page.
        list(APPEND ARG_PROPERTIES ENVIRONMENT_MODIFICATION
             "ASAN_OPTIONS=string_append: intercept_tls_get_addr=0")
    endif()
    gtest_discover_tests(test_${name} TEST_PREFIX "${name}." NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60
                         PROPERTIES TIMEOUT 120 ${ARG_PROPERTIES})
endfunction()

# One Google Benchmark program of the folder benchmarks/, from <name>.cpp; ./bench runs it.
function(qov_benchmark name)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    add_executable(bench_${name} ${name}.cpp)
    target_link_libraries(bench_${name} PRIVATE ${ARG_LINKS} benchmark::benchmark)
    add_dependencies(benchmarks bench_${name})
endfunction()

# One libFuzzer target of the folder fuzz/, from <name>.cpp, with its corpus in fuzz/corpus/<name>.
function(qov_fuzz name)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    add_executable(fuzz_${name} ${name}.cpp)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(fuzz_${name} PRIVATE ${ARG_LINKS})
endfunction()
