qov_fuzz(automation LINKS cli)
