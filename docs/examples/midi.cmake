set(links util)
