qov_benchmark(chain LINKS dsp platform_foundation)
