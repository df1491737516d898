/* Counts the instructions of marked sections in an emulated program, one line for each. */
#include <inttypes.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

#include "SectionMark.h"

/* The part of QEMU's plugin interface, version 1, that is used here: Debian packages the emulator
 * with the interface, and not its header. */
typedef uint64_t qemu_plugin_id_t;
typedef struct qemu_info_t qemu_info_t;
struct qemu_plugin_tb;
typedef void (*translation_cb)(qemu_plugin_id_t id, struct qemu_plugin_tb* block);
typedef void (*execution_cb)(unsigned int processor, void* data);
typedef void (*system_call_cb)(qemu_plugin_id_t id, unsigned int processor, int64_t number,
                               uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5,
                               uint64_t a6, uint64_t a7, uint64_t a8);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, translation_cb callback);
void qemu_plugin_register_vcpu_tb_exec_cb(struct qemu_plugin_tb* block, execution_cb callback,
                                          int registers, void* data);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t id, system_call_cb callback);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);

#define EXPORT __attribute__((visibility("default")))
EXPORT extern const int qemu_plugin_version;
const int qemu_plugin_version = 1;

/* The thread that is inside a section. Sections follow one another, on whatever thread. */
static volatile bool counting;
static volatile unsigned int counted_processor;
static uint64_t instructions;

static void onExecution(unsigned int processor, void* data) {
  if (counting && processor == counted_processor) instructions += (uintptr_t)data;
}

static void onTranslation(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_cb(block, onExecution, 0,
                                       (void*)(uintptr_t)qemu_plugin_tb_n_insns(block));
}

static void onSystemCall(qemu_plugin_id_t id, unsigned int processor, int64_t number, uint64_t a1,
                         uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                         uint64_t a7, uint64_t a8) {
  (void)id, (void)a1, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
  if (number != KIV_SECTION_MARK) return;
  if (counting) fprintf(stderr, "instructions\t%" PRIu64 "\n", instructions);
  counting = !counting;
  counted_processor = processor;
  instructions = 0;
}

EXPORT int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int argc,
                               char** argv) {
  (void)info, (void)argc, (void)argv;
  qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslation);
  qemu_plugin_register_vcpu_syscall_cb(id, onSystemCall);
  return 0;
}
