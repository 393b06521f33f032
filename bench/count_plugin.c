/* A plugin for qemu-user that counts the instructions which a program executes from one mark to the
 * next. A mark is a call of getppid(), which nothing else needs. Arguments: out=FILE, which gets a
 * number a mark; blocks=on, which follow it: how often each was executed, its function, and its
 * machine code. A block runs from a target of jumps to the next jump. Debian's package has no
 * qemu-plugin.h: what is used of it is declared here. */
#include <inttypes.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef uint64_t qemu_plugin_id_t;
typedef struct {
    const char* target_name;
    struct {
        int min;
        int cur;
    } version;
    bool system_emulation;
    int cpus[2];
} qemu_info_t;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*callback)(qemu_plugin_id_t, struct qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* tb, enum qemu_plugin_op op, void* word,
                                              uint64_t value);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t id,
                                          void (*callback)(qemu_plugin_id_t, unsigned, int64_t, uint64_t,
                                                           uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                                                           uint64_t, uint64_t));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* tb);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* tb, size_t index);
const void* qemu_plugin_insn_data(const struct qemu_plugin_insn* insn);
size_t qemu_plugin_insn_size(const struct qemu_plugin_insn* insn);
const char* qemu_plugin_insn_symbol(const struct qemu_plugin_insn* insn);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

struct block {
    struct block* next;
    const char* function;
    uint64_t executed;
    size_t instructions;
    size_t bytes;
    uint8_t code[];
};

static struct block* blocks;
static bool wants_blocks;
static int64_t mark;
static FILE* out;

static struct block* new_block(const struct qemu_plugin_tb* tb)
{
    const size_t count = qemu_plugin_tb_n_insns(tb);
    struct block* block = calloc(1, sizeof(*block) + count * sizeof(uint32_t));
    if (block == NULL)
        abort();
    block->instructions = count;
    for (size_t i = 0; i < count; ++i) {
        const struct qemu_plugin_insn* insn = qemu_plugin_tb_get_insn(tb, i);
        const size_t size = qemu_plugin_insn_size(insn);
        memcpy(block->code + block->bytes, qemu_plugin_insn_data(insn), size);
        block->bytes += size;
    }
    block->function = wants_blocks ? qemu_plugin_insn_symbol(qemu_plugin_tb_get_insn(tb, 0)) : NULL;
    block->next = blocks;
    blocks = block;
    return block;
}

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb* tb)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(tb, QEMU_PLUGIN_INLINE_ADD_U64, &new_block(tb)->executed, 1);
}

static void print(const struct block* block)
{
    fprintf(out, "  %" PRIu64 " %s ", block->executed, block->function != NULL ? block->function : "?");
    for (size_t i = 0; i < block->bytes; ++i)
        fprintf(out, "%02x", block->code[i]);
    fputc('\n', out);
}

static void called(qemu_plugin_id_t id, unsigned cpu, int64_t number, uint64_t a1, uint64_t a2, uint64_t a3,
                   uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8)
{
    (void)id, (void)cpu, (void)a1, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
    if (number != mark)
        return;
    uint64_t total = 0;
    for (const struct block* block = blocks; block != NULL; block = block->next)
        total += block->executed * block->instructions;
    fprintf(out, "%" PRIu64 "\n", total);
    for (struct block* block = blocks; block != NULL; block = block->next) {
        if (wants_blocks && block->executed > 0)
            print(block);
        block->executed = 0;
    }
    fflush(out);
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info,
                                                               int argc, char** argv)
{
    for (int i = 0; i < argc; ++i) {
        if (strncmp(argv[i], "out=", 4) == 0)
            out = fopen(argv[i] + 4, "w");
        else
            wants_blocks = wants_blocks || strcmp(argv[i], "blocks=on") == 0;
    }
    mark = strcmp(info->target_name, "aarch64") == 0 ? 173 : 64; /* getppid of Linux on AArch64, and on ARM */
    if (out == NULL)
        return 1;
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    qemu_plugin_register_vcpu_syscall_cb(id, called);
    return 0;
}
