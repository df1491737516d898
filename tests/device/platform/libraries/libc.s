@ What Android's C library has and glibc for the same processor has not.
.globl __stack_chk_guard
__stack_chk_guard = runtime
