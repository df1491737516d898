// A telemetry module that the dynamic linker refuses: it needs a library or a variable that no
// program has.
#ifdef LACKS_LIBRARY
int absentLibrary();

__attribute__((visibility("default"))) int useAbsentLibrary() { return absentLibrary(); }
#else
extern int absent_variable;

__attribute__((visibility("default"))) int* useAbsentVariable() { return &absent_variable; }
#endif
