/* Loaded before the C library (LD_PRELOAD): makes allocation number MMSKIT_BREAK_MALLOC fail, or it
 * and all after it when the number is negative. Counting starts with main(). Without the variable
 * it writes the number of allocations to file descriptor 9 at exit, if that is open. */
#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern void* __libc_malloc(size_t);
extern void* __libc_calloc(size_t, size_t);
extern void* __libc_realloc(void*, size_t);

static long asked, fail_at;
static int counting, and_after;

static int fails(void) {
    if (!counting || ++asked < fail_at || fail_at == 0) return 0;
    if (asked > fail_at && !and_after) return 0;
    errno = ENOMEM;
    return 1;
}

void* malloc(size_t size) {
    return fails() ? NULL : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return fails() ? NULL : __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    return fails() ? NULL : __libc_realloc(block, size);
}

static void report(void) {
    char line[32];
    const int length = snprintf(line, sizeof line, "%ld\n", asked);
    counting = 0;
    if (write(9, line, (size_t)length) < 0) return;
}

static int (*real_main)(int, char**, char**);

static int counted_main(int argc, char** argv, char** environment) {
    counting = 1;
    const int code = real_main(argc, argv, environment);
    counting = 0;
    return code;
}

typedef int start_main(int (*)(int, char**, char**), int, char**, void (*)(void), void (*)(void),
                       void (*)(void), void*);

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, void (*init)(void),
                      void (*fini)(void), void (*rtld_fini)(void), void* stack_end) {
    const char* number = getenv("MMSKIT_BREAK_MALLOC");
    start_main* start = NULL;
    void* symbol = dlsym(RTLD_NEXT, "__libc_start_main");
    memcpy(&start, &symbol, sizeof start);
    if (number != NULL) fail_at = strtol(number, NULL, 10);
    and_after = fail_at < 0;
    if (and_after) fail_at = -fail_at;
    if (number == NULL) (void)atexit(report);
    real_main = main;
    return start(counted_main, argc, argv, init, fini, rtld_fini, stack_end);
}
