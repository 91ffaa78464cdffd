qov_fuzz(state LINKS hosts_instance editor)
