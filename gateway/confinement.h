// SPDX-License-Identifier: MIT
// What the process may still ask of the kernel.
#ifndef GATEWAY_CONFINEMENT_H
#define GATEWAY_CONFINEMENT_H

// Gives up what no request needs, if the process is to be confined: from here on it looks at what strangers have sent.
void confine_process();

// Gives up what only those need who have logged in, such as programs: from here on the process serves somebody who has
// not.
void confine_guest();

#endif
