qov_fuzz(kernel LINKS dsp platform_foundation)
