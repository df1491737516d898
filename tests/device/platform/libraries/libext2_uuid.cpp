#include <uuid/uuid.h>

void uuid_generate_random(uuid_t /*out*/) {}

void uuid_unparse(const uuid_t /*uuid*/, char* /*out*/) {}
