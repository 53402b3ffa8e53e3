// SPDX-License-Identifier: MIT
// The calls that the router in memory answers in place of the C library, each as the library declares it.
#ifndef TESTS_FUZZ_CALLS_H
#define TESTS_FUZZ_CALLS_H

#include <sys/ipc.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>
#include <cstdio>
#include <ctime>

using SignalHandler = void (*)(int);

int router_access(const char *path, int mode);
void *router_calloc(size_t count, size_t size);
int router_close(int file);
FILE *router_fopen(const char *path, const char *mode);
key_t router_ftok(const char *path, int project);
char *router_getenv(const char *name);
int router_ioctl(int file, unsigned long request, void *argument);
void *router_malloc(size_t size);
int router_msgget(key_t key, int flags);
int router_msgsnd(int queue, const void *message, size_t size, int flags);
int router_open(const char *path, int flags, int mode = 0);
int router_fileno(FILE *file);
int router_pclose(FILE *pipe);
void router_perror(const char *message);
FILE *router_popen(const char *command, const char *mode);
ssize_t router_read(int file, void *bytes, size_t size);
void *router_realloc(void *memory, size_t size);
int router_rename(const char *from, const char *to);
SignalHandler router_signal(int number, SignalHandler handler);
int router_socket(int domain, int type, int protocol);
int router_stat(const char *path, struct stat *status);
FILE *router_stderr();
char *router_strdup(const char *text);
int router_sysinfo(struct sysinfo *info);
int router_system(const char *command);
time_t router_time(time_t *out);
int router_unlink(const char *path);
int router_usleep(unsigned microseconds);
long router_syscall(long number, void *bytes, size_t size, unsigned flags);
ssize_t router_write(int file, const void *bytes, size_t size);
ssize_t router_writev(int file, const struct iovec *parts, int count);

#endif
