qov_find(cairo cairo)
qov_benchmark(editor LINKS editor PkgConfig::cairo)
