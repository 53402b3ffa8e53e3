// SPDX-License-Identifier: MIT
// What the endpoint asks of the C library and the kernel, answered by a router in this process's memory (router.h).
//
// Included in front of each source of the endpoint, and of nothing else: its calls become calls of those of calls.h.
// The headers come first, so that only calls are meant. script/fuzz refuses to run while a call is forgotten.
#ifndef TESTS_FUZZ_SEAM_H
#define TESTS_FUZZ_SEAM_H

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "tests/fuzz/calls.h"

#define access(path, mode) router_access(path, mode)
#define calloc(count, size) router_calloc(count, size)
#define close(file) router_close(file)
#define fileno(file) router_fileno(file)
#define fopen(path, mode) router_fopen(path, mode)
#define ftok(path, project) router_ftok(path, project)
#define getenv(name) router_getenv(name)
#define getpid() 4711
#define ioctl(file, request, argument) router_ioctl(file, request, argument)
#define malloc(size) router_malloc(size)
#define msgget(key, flags) router_msgget(key, flags)
#define msgsnd(queue, message, size, flags) router_msgsnd(queue, message, size, flags)
#define open(...) router_open(__VA_ARGS__)
#define pclose(pipe) router_pclose(pipe)
#define perror(message) router_perror(message)
#define popen(command, mode) router_popen(command, mode)
#define read(file, bytes, size) router_read(file, bytes, size)
#define realloc(memory, size) router_realloc(memory, size)
#define rename(from, to) router_rename(from, to)
#define signal(number, handler) router_signal(number, handler)
#define socket(domain, type, protocol) router_socket(domain, type, protocol)
#define stat(path, status) router_stat(path, status)
#undef stderr
#define stderr router_stderr()
#undef strdup
#define strdup(text) router_strdup(text)
#define syscall(number, bytes, size, flags) router_syscall(number, bytes, size, flags)
#define sysinfo(info) router_sysinfo(info)
#define system(command) router_system(command)
#define time(out) router_time(out)
#define unlink(path) router_unlink(path)
#define usleep(microseconds) router_usleep(microseconds)
#define write(file, bytes, size) router_write(file, bytes, size)
#define writev(file, parts, count) router_writev(file, parts, count)

// What the endpoint keeps between two requests of a process is brought back to its first state for each of them, since
// on a router each is a process of its own. So its variables lie together (router.cpp).
#pragma clang section bss = "endpoint_bss" data = "endpoint_data"

#endif
