// SPDX-License-Identifier: Apache-2.0
/*
 * A plugin for QEMU's user-mode emulators that counts the instructions executed between two marker
 * functions, by stage:
 *
 *     qemu-arm -plugin libinsn_count.so,begin=0x..,end=0x..,stages=FILE,out=FILE PROGRAM
 *
 * begin, end  addresses of the markers in the running program. Counting starts after the first
 *             instruction of `begin` and stops at the first one of `end`.
 * stages      address ranges, one "START END NAME" a line, in hexadecimal, ascending, END
 *             excluded. An instruction outside of them (arithmetic helpers, linkage stubs, the C
 *             library) counts as a helper of the stage that ran last, which is its caller.
 * out         receives the number of instructions of the largest frame, then "OWN HELPERS NAME"
 *             by stage
 *
 * Conditional instructions that the condition turns off count: they take their place in the
 * pipeline.
 */
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Version 1 of the emulator's plugin interface, as far as it is needed here. Debian's packages do
   not carry its header. */
typedef uint64_t qemu_plugin_id_t;
struct qemu_info;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
enum qemu_plugin_cb_flags { QEMU_PLUGIN_CB_NO_REGS };
typedef void (*AtExit)(qemu_plugin_id_t id, void* userdata);
typedef void (*Translated)(qemu_plugin_id_t id, struct qemu_plugin_tb* block);
typedef void (*Executed)(unsigned int cpu, void* userdata);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, Translated callback);
void qemu_plugin_register_vcpu_insn_exec_cb(struct qemu_plugin_insn* insn, Executed callback,
                                            enum qemu_plugin_cb_flags flags, void* userdata);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id, AtExit callback, void* userdata);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* block, size_t index);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn* insn);

#define PLUGIN_EXPORT __attribute__((visibility("default")))
extern PLUGIN_EXPORT int qemu_plugin_version;
PLUGIN_EXPORT int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info* info, int argc,
                                      char** argv);
PLUGIN_EXPORT int qemu_plugin_version = 1;

enum { kMaxStages = 4096, kNameLength = 200 };

static const char kOutside[] = "(outside)";

typedef struct Stage {
  uint64_t start;
  uint64_t end;
  uint64_t own;
  uint64_t helpers;
  char name[kNameLength];
} Stage;

static Stage stages[kMaxStages];  // the first one counts until another runs
static size_t stageCount = 1;
static Stage* current = stages;
static bool counting = false;
static uint64_t executed = 0;  // since the first marker
static uint64_t largest = 0;
static uint64_t beginAddress = 0;
static uint64_t endAddress = 0;
static const char* outPath = NULL;

static Stage* stageAt(uint64_t address) {
  size_t low = 1;
  size_t high = stageCount;
  while (low < high) {
    const size_t middle = (low + high) / 2;
    if (stages[middle].end <= address) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low < stageCount && stages[low].start <= address ? &stages[low] : NULL;
}

static void begin(unsigned int cpu, void* userdata) {
  (void)cpu, (void)userdata;
  current = stages;
  counting = true;
  executed = 0;
}

static void end(unsigned int cpu, void* userdata) {
  (void)cpu, (void)userdata;
  counting = false;
  if (executed > largest) largest = executed;
}

static void count(unsigned int cpu, void* stage) {
  (void)cpu;
  if (!counting) return;
  ++executed;
  if (stage == NULL) {
    ++current->helpers;
  } else {
    current = stage;
    ++current->own;
  }
}

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
  (void)id;
  const size_t n = qemu_plugin_tb_n_insns(block);
  for (size_t i = 0; i < n; ++i) {
    struct qemu_plugin_insn* insn = qemu_plugin_tb_get_insn(block, i);
    const uint64_t address = qemu_plugin_insn_vaddr(insn);
    Executed callback = count;
    if (address == beginAddress) callback = begin;
    if (address == endAddress) callback = end;
    qemu_plugin_register_vcpu_insn_exec_cb(insn, callback, QEMU_PLUGIN_CB_NO_REGS,
                                           stageAt(address));
  }
}

static void report(qemu_plugin_id_t id, void* userdata) {
  (void)id, (void)userdata;
  FILE* out = fopen(outPath, "w");
  if (out == NULL) {
    perror(outPath);
    return;
  }
  fprintf(out, "%llu\n", (unsigned long long)largest);
  for (size_t i = 0; i < stageCount; ++i) {
    const Stage* stage = &stages[i];
    if (stage->own + stage->helpers != 0) {
      fprintf(out, "%llu %llu %s\n", (unsigned long long)stage->own,
              (unsigned long long)stage->helpers, stage->name);
    }
  }
  if (fclose(out) != 0) perror(outPath);
}

static bool readStages(const char* path) {
  FILE* file = fopen(path, "r");
  if (file == NULL) {
    perror(path);
    return false;
  }
  unsigned long long first;
  unsigned long long last;
  bool fits = true;
  char name[kNameLength];
  while (fits && fscanf(file, "%llx %llx %199[^\n]", &first, &last, name) == 3) {
    fits = stageCount < kMaxStages && first >= stages[stageCount - 1].end && first < last;
    if (!fits) break;
    Stage* stage = &stages[stageCount++];
    stage->start = first;
    stage->end = last;
    memcpy(stage->name, name, sizeof name);
  }
  fits = fits && feof(file);
  fclose(file);
  if (!fits) fprintf(stderr, "insn_count: %s: not ascending ranges, or too many\n", path);
  return fits;
}

int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info* info, int argc, char** argv) {
  (void)info;
  const char* stagesPath = NULL;
  for (int i = 0; i < argc; ++i) {
    const char* value = strchr(argv[i], '=');
    if (value == NULL) return -1;
    ++value;
    if (strncmp(argv[i], "begin=", 6) == 0) beginAddress = strtoull(value, NULL, 16);
    if (strncmp(argv[i], "end=", 4) == 0) endAddress = strtoull(value, NULL, 16);
    if (strncmp(argv[i], "stages=", 7) == 0) stagesPath = value;
    if (strncmp(argv[i], "out=", 4) == 0) outPath = value;
  }
  if (beginAddress == 0 || endAddress == 0 || stagesPath == NULL || outPath == NULL) {
    fprintf(stderr, "insn_count: needs begin, end, stages and out\n");
    return -1;
  }
  memcpy(stages[0].name, kOutside, sizeof kOutside);
  if (!readStages(stagesPath)) return -1;
  qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
  qemu_plugin_register_atexit_cb(id, report, NULL);
  return 0;
}
