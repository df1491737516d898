/// What a program tells the QEMU plugin by.
#pragma once

/// A system call that there is not.
#define KIV_SECTION_MARK 0x6b6976
