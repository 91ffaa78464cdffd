qov_fuzz(four_char_code LINKS util)
