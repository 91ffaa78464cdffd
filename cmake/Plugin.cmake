# How a plug-in is put together.
#
# A bundle is a folder with two kinds of file:
# - entries, what a host opens: static descriptions and the loader (hosts/bundle), nothing of the editor, so that a
#   scan takes milliseconds;
# - the body, kelvane-body.so: every adapter with the instance and the editor. The first instance loads it.
#
# Bundles lie below build/<preset>/plugins/<format>/ as they are installed, so that LV2_PATH, CLAP_PATH or a VST3
# host can be pointed there, and a copy of that folder's content in ~/.lv2, ~/.clap or ~/.vst3 installs them for one
# user. `cmake --install build/<preset> --component clap --prefix P` (lv2, vst3 alike) installs one format below
# P/lib/clap; KELVANE_LV2_DIR, KELVANE_CLAP_DIR and KELVANE_VST3_DIR name another folder.
#
# A format's folder hosts/<format> builds its adapter as the library hosts_<format>, whose functions for the entries
# are named kelvane_*, have C linkage and default visibility; the body takes it in when it is there. Then:
#   qov_plugin_bundle(clap kelvane)
#   qov_plugin_entry(clap_entry BUNDLE clap FILE kelvane.clap EXPORTS clap_entry SOURCES entry/ClapEntry.cpp)

# Hosts look in lib and lib64, not in Debian's folder of one architecture (lib/x86_64-linux-gnu).
string(REGEX REPLACE "^lib/.*" "lib" libdir ${CMAKE_INSTALL_LIBDIR})
foreach(format lv2 clap vst3)
    string(TOUPPER ${format} upper)
    set(KELVANE_${upper}_DIR ${libdir}/${format} CACHE STRING "Where installed ${format} bundles go, below the prefix")
endforeach()

# A format's C headers, from Debian's dpf-source or the folder that the variable names, as the target <format>_headers.
function(qov_plugin_headers format variable header)
    find_path(${variable} ${header} PATHS /usr/share/dpf/distrho/src DOC "The folder below which ${header} lies")
    if(NOT ${variable})
        message(FATAL_ERROR "${header} is missing: install dpf-source, or set ${variable}")
    endif()
    add_library(${format}_headers INTERFACE)
    target_include_directories(${format}_headers SYSTEM INTERFACE ${${variable}})
endfunction()

# What every shared object of ours is linked with: no symbol but those of the version script, none missing, code that
# is shared between processes as it is. The C++ runtime comes along: two versions of it in one host then never meet.
# A sanitizer has its runtime in the program, which -z defs cannot see.
function(_qov_plugin_link target exports)
    string(REPLACE ";" "; " list "${exports}")
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.version)
    file(CONFIGURE OUTPUT ${script} CONTENT "{ global: ${list}; local: *; };\n" @ONLY)
    target_link_options(${target} PRIVATE LINKER:--version-script=${script} LINKER:-z,text LINKER:-z,relro
                                          LINKER:-z,now LINKER:--as-needed LINKER:--gc-sections)
    if(NOT QOV_SANITIZE)
        target_link_options(${target} PRIVATE LINKER:-z,defs -static-libstdc++ -static-libgcc)
    endif()
    set_target_properties(${target} PROPERTIES PREFIX "" LINK_DEPENDS ${script})
endfunction()

# The bundle of a format: `folder` below the place where hosts look, with the body in it.
function(qov_plugin_bundle format folder)
    set(place ${CMAKE_BINARY_DIR}/plugins/${format}/${folder})
    set(body ${place}/kelvane-body.so)
    add_custom_command(OUTPUT ${body} VERBATIM
                       COMMAND ${CMAKE_COMMAND} -E make_directory ${place}
                       COMMAND ${CMAKE_COMMAND} -E create_hardlink $<TARGET_FILE:kelvane-body> ${body}
                       DEPENDS kelvane-body $<TARGET_FILE:kelvane-body>)
    add_custom_target(${format}_bundle ALL DEPENDS ${body})
    set_target_properties(${format}_bundle PROPERTIES QOV_PLACE ${place} QOV_FOLDER ${folder})
endfunction()

# A shared object that hosts open. EXPORTS: the symbols that its format asks for, no other is seen. FILE: its name in
# the bundle. LINKS: what it needs besides the loader.
function(qov_plugin_entry target)
    cmake_parse_arguments(ARG "" "BUNDLE;FILE" "SOURCES;EXPORTS;LINKS" ${ARGN})
    get_target_property(place ${ARG_BUNDLE}_bundle QOV_PLACE)
    get_target_property(folder ${ARG_BUNDLE}_bundle QOV_FOLDER)
    add_library(${target} MODULE ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE hosts_bundle ${ARG_LINKS})
    _qov_plugin_link(${target} "${ARG_EXPORTS}")
    cmake_path(GET ARG_FILE STEM LAST_ONLY stem)
    cmake_path(GET ARG_FILE EXTENSION LAST_ONLY suffix)
    set_target_properties(${target} PROPERTIES OUTPUT_NAME ${stem} SUFFIX ${suffix} LIBRARY_OUTPUT_DIRECTORY ${place})
    add_dependencies(${ARG_BUNDLE}_bundle ${target})
    string(TOUPPER ${ARG_BUNDLE} upper)
    install(TARGETS ${target} DESTINATION ${KELVANE_${upper}_DIR}/${folder} COMPONENT ${ARG_BUNDLE})
endfunction()

# The body, of the adapters that there are, for the bundles that there are.
function(qov_plugin_body)
    add_library(kelvane-body MODULE ${ARGN})
    target_link_libraries(kelvane-body PRIVATE hosts_window)
    foreach(adapter hosts_lv2 hosts_clap hosts_vst3)
        if(TARGET ${adapter})
            # Whole: nothing in the body itself calls their functions.
            target_link_libraries(kelvane-body PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,${adapter}>)
        endif()
    endforeach()
    _qov_plugin_link(kelvane-body "kelvane_*")
    foreach(format lv2 clap vst3)
        if(TARGET ${format}_bundle)
            get_target_property(folder ${format}_bundle QOV_FOLDER)
            string(TOUPPER ${format} upper)
            install(TARGETS kelvane-body DESTINATION ${KELVANE_${upper}_DIR}/${folder} COMPONENT ${format})
        endif()
    endforeach()
endfunction()
