// SPDX-License-Identifier: MIT
// Requests to the router's system daemon, posted to its System V message queue.
#ifndef GATEWAY_HANDLER_MESSAGE_H
#define GATEWAY_HANDLER_MESSAGE_H

#include "platform/system_queue.h"

// Posts the record, which was declared with `= {}`, so that everything that was not set is zero. Returns without
// waiting for an answer; waits only while the queue is full. 0: queued. -1: not, and no message was written to
// `err_msg`: that is the caller's.
int msg_send(const SysMsgRecord &record);

// The same for handlers: 0, or kFailed with `not_sent` as the message.
int ask_daemon(const SysMsgRecord &record, const char *not_sent);

// Asks for something that needs no more words than its type.
int ask_daemon(SysMsgType type, const char *not_sent);

// Has the daemon configure a part of the system, which `argument` names, from the store. 0, or kFailed with the
// message.
int call_sysconf(const char *argument);

#endif
