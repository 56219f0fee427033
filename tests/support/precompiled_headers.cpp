// Empty: the target exists for its precompiled headers, which the tests use.
