qov_fuzz(midi_file LINKS cli)
