// Holds the precompiled header of the test framework that every test program shares.
