// A library that UnloadableModule.cpp needs, and that is not on the loader's path.
__attribute__((visibility("default"))) int absentLibrary() { return 1; }
