// A plugin of QEMU's user-mode emulator (7.2): keeps the number of instructions executed so far at
// the start of a file, where the emulated program reads it (kalvora-bench --counter FILE).
//
//   qemu-arm -plugin ./instructions.so,out=FILE program
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

// The part of the emulator's interface that is used; its header is not packaged.
typedef struct {
  const char* target;
  struct {
    int min, current;
  } version;
} Info;
struct qemu_plugin_tb;
enum { kInlineAddU64 = 0 };
typedef void (*Translated)(uint64_t id, struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, Translated callback);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int operation,
                                              void* counter, uint64_t amount);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t* counter;

static void Count(uint64_t id, struct qemu_plugin_tb* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, kInlineAddU64, counter,
                                           qemu_plugin_tb_n_insns(block));
}

__attribute__((visibility("default"))) int qemu_plugin_install(uint64_t id, const Info* info,
                                                               int count, char** words) {
  (void)info;
  if (count != 1 || strncmp(words[0], "out=", 4) != 0) return 1;
  const int file = open(words[0] + 4, O_RDWR | O_CREAT, 0666);
  if (file < 0 || ftruncate(file, sizeof *counter) != 0) return 1;
  void* memory = mmap(NULL, sizeof *counter, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory == MAP_FAILED) return 1;
  counter = memory;
  *counter = 0;
  qemu_plugin_register_vcpu_tb_trans_cb(id, Count);
  return 0;
}
