/* A plugin for qemu-user that counts the instructions which a program executes from one mark to the next. A mark is a call
 * of getppid(), which nothing else needs. Arguments: out=FILE, which gets a number a mark; functions=on, which follow it,
 * each with its own number, indented. Debian's package has no qemu-plugin.h: what is used of it is declared here. */
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
const char* qemu_plugin_insn_symbol(const struct qemu_plugin_insn* insn);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

/* One for each function that was met; those without a name share one. */
struct function {
    struct function* next;
    uint64_t count;
    char name[];
};

static struct function* functions;
static bool wants_functions;
static int64_t mark;
static FILE* out;

static struct function* function_of(const char* name)
{
    struct function* f = functions;
    while (f != NULL && strcmp(f->name, name) != 0)
        f = f->next;
    if (f == NULL) {
        f = calloc(1, sizeof(*f) + strlen(name) + 1);
        if (f == NULL)
            abort();
        strcpy(f->name, name);
        f->next = functions;
        functions = f;
    }
    return f;
}

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb* tb)
{
    (void)id;
    const char* name = wants_functions ? qemu_plugin_insn_symbol(qemu_plugin_tb_get_insn(tb, 0)) : NULL;
    qemu_plugin_register_vcpu_tb_exec_inline(tb, QEMU_PLUGIN_INLINE_ADD_U64,
                                             &function_of(name != NULL ? name : "?")->count,
                                             qemu_plugin_tb_n_insns(tb));
}

static void called(qemu_plugin_id_t id, unsigned cpu, int64_t number, uint64_t a1, uint64_t a2, uint64_t a3,
                   uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8)
{
    (void)id, (void)cpu, (void)a1, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
    if (number != mark)
        return;
    uint64_t total = 0;
    for (const struct function* f = functions; f != NULL; f = f->next)
        total += f->count;
    fprintf(out, "%" PRIu64 "\n", total);
    for (struct function* f = functions; f != NULL; f = f->next) {
        if (wants_functions && f->count > 0)
            fprintf(out, "  %" PRIu64 " %s\n", f->count, f->name);
        f->count = 0;
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
            wants_functions = wants_functions || strcmp(argv[i], "functions=on") == 0;
    }
    mark = strcmp(info->target_name, "aarch64") == 0 ? 173 : 64; /* getppid of Linux on AArch64, and on ARM */
    if (out == NULL)
        return 1;
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    qemu_plugin_register_vcpu_syscall_cb(id, called);
    return 0;
}
