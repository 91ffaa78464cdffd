qov_fuzz(instance LINKS hosts_instance editor)
