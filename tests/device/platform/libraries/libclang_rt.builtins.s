@ Compilers up to 16 keep thread-local variables for Android here; newer ones call __tls_get_addr.
.globl __emutls_get_address
__emutls_get_address = runtime
