qov_fuzz(editor LINKS editor)
