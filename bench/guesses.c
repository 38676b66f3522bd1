// A plugin of QEMU's user-mode emulator (7.2) for x86-64: which jumps of the library a processor
// would foresee, and which not, by a model of how processors guess. At the end OUT gets a line for
// each conditional jump of libKalvora.so: its place, and how often it was executed, taken, and
// guessed wrong.
//
//   qemu-x86_64 -cpu max -plugin ./guesses.so,out=OUT program
//
// The model has a counter for each jump, and tables of counters for it after each course of the
// last 4, 6, 10, ... 640 jumps; the longest course that is known decides. See A. Seznec and
// P. Michaud, A case for (partially) tagged geometric history length branch prediction, 2006.
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// The part of the emulator's interface that is used; its header is not packaged.
struct qemu_plugin_tb;
struct qemu_plugin_insn;
typedef struct Info Info;
typedef void (*Translated)(uint64_t id, struct qemu_plugin_tb* block);
typedef void (*Executed)(unsigned processor, void* data);
typedef void (*Ended)(uint64_t id, void* data);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, Translated callback);
void qemu_plugin_register_vcpu_tb_exec_cb(struct qemu_plugin_tb* block, Executed callback,
                                          int flags, void* data);
void qemu_plugin_register_atexit_cb(uint64_t id, Ended callback, void* data);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
uint64_t qemu_plugin_tb_vaddr(const struct qemu_plugin_tb* block);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* block, size_t i);
const void* qemu_plugin_insn_data(const struct qemu_plugin_insn* instruction);
size_t qemu_plugin_insn_size(const struct qemu_plugin_insn* instruction);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn* instruction);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

// Guessing ----------------------------------------------------------------------------------------

enum {
  kTables = 12,
  kPlaceBits = 10,
  kPlaces = 1 << kPlaceBits,
  kTagBits = 11,
  kPast = 1024,
  kAlone = 8192
};
static const unsigned kCourse[kTables] = {4, 6, 10, 16, 25, 40, 64, 101, 160, 254, 403, 640};

typedef struct {
  int8_t counter;  // -4 to 3: taken from 0 on
  uint8_t useful;
  uint16_t tag;
} Entry;

static Entry tables[kTables][kPlaces];
static int8_t alone[kAlone];  // -2 to 1
static uint8_t past[kPast];
static unsigned now;
// The course of each table, folded into so many bits.
static uint32_t place[kTables], tag[kTables], tag2[kTables];

static void Fold(uint32_t* folded, unsigned bits, unsigned course, unsigned in, unsigned out) {
  uint32_t v = *folded << 1 | in;
  v ^= out << course % bits;
  *folded = (v ^ v >> bits) & ((1u << bits) - 1);
}

static void Remember(bool taken) {
  for (unsigned i = 0; i < kTables; ++i) {
    const unsigned out = past[(now - kCourse[i]) % kPast];
    Fold(&place[i], kPlaceBits, kCourse[i], taken, out);
    Fold(&tag[i], kTagBits, kCourse[i], taken, out);
    Fold(&tag2[i], kTagBits - 1, kCourse[i], taken, out);
  }
  past[now++ % kPast] = taken;
}

static int8_t Moved(int8_t counter, bool up, int8_t least, int8_t most) {
  if (up) return counter < most ? counter + 1 : most;
  return counter > least ? counter - 1 : least;
}

// Whether the guess was wrong; learns from it.
static bool IsWrong(uint64_t address, bool taken) {
  const uint32_t hash = (uint32_t)(address ^ address >> 13);
  Entry* entries[kTables];
  uint16_t tags[kTables];
  Entry *found = NULL, *next = NULL;  // by the longest course, and by the one after it
  unsigned longer = 0;                // the first table of longer courses
  for (unsigned i = 0; i < kTables; ++i) {
    entries[i] = &tables[i][(hash ^ hash >> (i + 1) ^ place[i]) % kPlaces];
    tags[i] = (hash ^ tag[i] ^ tag2[i] << 1) % (1 << kTagBits);
    if (entries[i]->tag != tags[i]) continue;
    next = found;
    found = entries[i];
    longer = i + 1;
  }
  int8_t* const own = &alone[hash % kAlone];
  const bool other = next ? next->counter >= 0 : *own >= 0;
  const bool guess = found ? found->counter >= 0 : *own >= 0;
  if (found) {
    found->counter = Moved(found->counter, taken, -4, 3);
    if (guess != other) found->useful = (uint8_t)Moved((int8_t)found->useful, guess == taken, 0, 3);
  } else {
    *own = Moved(*own, taken, -2, 1);
  }
  if (guess == taken) return false;
  // A longer course is tried, where an entry is free.
  bool isFree = false;
  for (unsigned i = longer; i < kTables && !isFree; ++i) {
    if ((isFree = entries[i]->useful == 0)) *entries[i] = (Entry){taken ? 0 : -1, 0, tags[i]};
  }
  for (unsigned i = longer; i < kTables && !isFree; ++i) --entries[i]->useful;
  return true;
}

// Jumps -------------------------------------------------------------------------------------------

typedef struct Jump Jump;
struct Jump {
  uint64_t address, behind;  // and where execution goes on when it is not taken
  uint64_t executed, taken, wrong;
  Jump* next;
};
typedef struct {
  uint64_t address;
  Jump* jump;  // at its end, or null
} Block;

static Jump* jumps;
static Jump* last;
static const char* out;

static void Execute(unsigned processor, void* data) {
  (void)processor;
  const Block* const block = data;
  if (last) {
    const bool taken = block->address != last->behind;
    ++last->executed;
    last->taken += taken;
    last->wrong += IsWrong(last->address, taken);
    Remember(taken);
  }
  last = block->jump;
}

static bool IsConditional(const uint8_t* code, size_t size) {
  return (code[0] & 0xF0) == 0x70 || (size > 1 && code[0] == 0x0F && (code[1] & 0xF0) == 0x80);
}

static Jump* JumpAt(uint64_t address, uint64_t behind) {
  for (Jump* jump = jumps; jump; jump = jump->next) {
    if (jump->address == address) return jump;
  }
  Jump* const jump = calloc(1, sizeof *jump);
  if (!jump) abort();
  *jump = (Jump){.address = address, .behind = behind, .next = jumps};
  return jumps = jump;
}

static void Translate(uint64_t id, struct qemu_plugin_tb* tb) {
  (void)id;
  const struct qemu_plugin_insn* end = qemu_plugin_tb_get_insn(tb, qemu_plugin_tb_n_insns(tb) - 1);
  const size_t size = qemu_plugin_insn_size(end);
  const uint64_t address = qemu_plugin_insn_vaddr(end);
  Block* const block = calloc(1, sizeof *block);
  if (!block) abort();
  block->address = qemu_plugin_tb_vaddr(tb);
  if (IsConditional(qemu_plugin_insn_data(end), size))
    block->jump = JumpAt(address, address + size);
  qemu_plugin_register_vcpu_tb_exec_cb(tb, Execute, 0, block);
}

static void End(uint64_t id, void* data) {
  (void)id;
  (void)data;
  char line[512];
  unsigned long long begin = 0, end = 0, from, to;
  FILE* const maps = fopen("/proc/self/maps", "r");
  while (maps && fgets(line, sizeof line, maps)) {
    if (!strstr(line, "libKalvora.so") || sscanf(line, "%llx-%llx", &from, &to) != 2) continue;
    if (begin == 0) begin = from;
    end = to;
  }
  if (maps) fclose(maps);
  FILE* const file = fopen(out, "w");
  for (const Jump* jump = jumps; file && jump; jump = jump->next) {
    if (jump->address < begin || jump->address >= end || jump->executed == 0) continue;
    fprintf(file, "0x%llx %llu %llu %llu\n", jump->address - begin,
            (unsigned long long)jump->executed, (unsigned long long)jump->taken,
            (unsigned long long)jump->wrong);
  }
  if (!file || fclose(file) != 0) perror(out);
}

__attribute__((visibility("default"))) int qemu_plugin_install(uint64_t id, const Info* info,
                                                               int count, char** words) {
  (void)info;
  if (count != 1 || strncmp(words[0], "out=", 4) != 0) return 1;
  out = strdup(words[0] + 4);
  for (unsigned i = 0; i < kTables; ++i) {
    for (unsigned k = 0; k < kPlaces; ++k) tables[i][k].tag = UINT16_MAX;
  }
  qemu_plugin_register_vcpu_tb_trans_cb(id, Translate);
  qemu_plugin_register_atexit_cb(id, End, NULL);
  return 0;
}
