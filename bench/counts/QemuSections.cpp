// A plugin for QEMU: counts the instructions of marked sections in the emulated program, and prints
// a line for each.
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "bench/counts/SectionMark.h"

// The part of QEMU's plugin interface, version 1, that is used here. Debian packages the emulator
// with the interface, but not its header.
extern "C" {
struct qemu_plugin_tb;
struct qemu_info_t;
using qemu_plugin_id_t = uint64_t;
using qemu_translation_cb = void (*)(qemu_plugin_id_t, qemu_plugin_tb*);
using qemu_execution_cb = void (*)(unsigned processor, void* data);
using qemu_system_call_cb = void (*)(qemu_plugin_id_t, unsigned processor, int64_t number, uint64_t,
                                     uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                                     uint64_t);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t, qemu_translation_cb);
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb*, qemu_execution_cb, int registers,
                                          void* data);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t, qemu_system_call_cb);
size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb*);
}

namespace {

// Sections follow one another, on whatever thread: an emulated thread is a processor of its own.
volatile bool counting = false;
volatile unsigned counted_processor = 0;
uint64_t instructions = 0;

void onExecution(unsigned processor, void* data) {
  if (counting && processor == counted_processor) {
    instructions += *static_cast<const size_t*>(data);
  }
}

void onTranslation(qemu_plugin_id_t /*id*/, qemu_plugin_tb* block) {
  // Never freed: the block may be executed until the process ends.
  auto* const length = new size_t(qemu_plugin_tb_n_insns(block));
  qemu_plugin_register_vcpu_tb_exec_cb(block, onExecution, 0, length);
}

void onSystemCall(qemu_plugin_id_t /*id*/, unsigned processor, int64_t number, uint64_t, uint64_t,
                  uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t) {
  if (number != kiv_bench::kSectionMark) return;
  if (counting) std::fprintf(stderr, "instructions\t%" PRIu64 "\n", instructions);
  counting = !counting;
  counted_processor = processor;
  instructions = 0;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) extern const int qemu_plugin_version = 1;

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id,
                                                               const qemu_info_t* /*info*/,
                                                               int /*argc*/, char** /*argv*/) {
  qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslation);
  qemu_plugin_register_vcpu_syscall_cb(id, onSystemCall);
  return 0;
}

}  // extern "C"
