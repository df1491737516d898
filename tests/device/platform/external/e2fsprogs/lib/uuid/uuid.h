/// Declarations of Android's libuuid, that of e2fsprogs, that our sources use. Hosts have another
/// library of that name, which offers more.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char uuid_t[16];

void uuid_generate_random(uuid_t out);
void uuid_unparse(const uuid_t uu, char* out);

#ifdef __cplusplus
}
#endif
