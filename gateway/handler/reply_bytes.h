// SPDX-License-Identifier: MIT
// The bytes of a reply.
#ifndef GATEWAY_HANDLER_REPLY_BYTES_H
#define GATEWAY_HANDLER_REPLY_BYTES_H

// Makes of the printed reply what leaves the process. The length stays.
void finish_reply_bytes(char *text);

#endif
