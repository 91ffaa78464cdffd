qov_fuzz(image_loader LINKS util)
