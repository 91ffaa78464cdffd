qov_benchmark(files LINKS files)
