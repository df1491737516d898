// Nothing: this stands for the headers that are compiled once, for all tests.
