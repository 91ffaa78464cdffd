qov_fuzz(texts LINKS cli)
