// SPDX-License-Identifier: MIT
// The board that the router's programs run on: its flash memory, its LAN ports and its reset line. It stands outside of
// the router, behind a socket.
#ifndef VIRTUAL_ROUTER_BOARD_BOARD_H
#define VIRTUAL_ROUTER_BOARD_BOARD_H

namespace board {

// Gives the board an order, a line of words without its end, and waits until it is carried out:
//
//   keep NAME          the file NAME of /flash, as it is now or as it is not there any more, outlives the router
//   lan ADDRESS MASK   the LAN has that network now; twice "none": it has none
//   replies            done when whoever waits for a reply now has it, or after some seconds
//   reset              the router starts anew
//
// Returns 0 or an errno. Where there is no board, as in a root that is only looked at, /flash is all the memory there
// is, and every order is done.
int order(const char *words);

}  // namespace board

#endif
