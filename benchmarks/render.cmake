qov_benchmark(render LINKS PkgConfig::sndfile)
target_compile_definitions(bench_render PRIVATE KELVANE_PROGRAM="$<TARGET_FILE:kelvane>")
add_dependencies(bench_render kelvane)
