// Empty: CMake needs a source for the target that holds the precompiled headers.
