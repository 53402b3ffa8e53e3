// Every item of the configuration store that the program uses: number, width and meaning, declared once.
// A text's width counts its terminator. The numbers are the firmware's: do not renumber.
#ifndef STORE_ITEMS_H
#define STORE_ITEMS_H

#include "store/item.h"

// Account and sessions. The password may be a Wi-Fi key of up to 64 characters.
constexpr TextItem<32> MIB_USER_NAME{182};
constexpr TextItem<65> MIB_USER_PASSWORD{183};

// Identity.
constexpr TextItem<32> MIB_DUT_SN{4200};   // serial number
constexpr ByteItem MIB_DUT_INIT{4201};     // 1: the app has completed the initial setup
constexpr TextItem<31> MIB_DUT_NAME{186};  // name that the user sees
constexpr Int32Item MIB_BOARD_VER{200};    // hardware version

// System settings.
constexpr TextItem<8> MIB_TIME_ZONE_INDEX{153};  // as the app names it, 3 to 7 characters
constexpr SignedByteItem MIB_OP_MODE{192};       // operating mode; what the numbers mean is the firmware's affair
constexpr Int32Item MIB_APP_PORT{4230};          // 0 to 65535, kept for the app
constexpr Int32Item MIB_APP_TICKTIME{4231};      // 0 to 65535, kept for the app

// Mesh. 0: off, 1: controller, 2: agent, whose default gateway is its controller.
constexpr Int32Item MIB_MESH_ROLE{2386};

#endif
