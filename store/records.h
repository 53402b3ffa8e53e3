// Packed records of the store's tables, as the firmware lays them out: do not reorder or resize.
#ifndef STORE_RECORDS_H
#define STORE_RECORDS_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>

// A device of a radio's access list.
struct AclEntry {
    uint8_t mac[6];
    char comment[21];  // terminated; empty when none was given
};
static_assert(offsetof(AclEntry, comment) == 6 && sizeof(AclEntry) == 27, "layout shared with the store");

// A device of the MAC filter.
struct MacFilterEntry {
    uint8_t mac[6];
    char comment[21];  // terminated; empty when none was given
    char time[10];     // terminated, as the app gave it
    uint8_t week;      // mask of weekdays, 7 bits
};
static_assert(offsetof(MacFilterEntry, comment) == 6, "layout shared with the store");
static_assert(offsetof(MacFilterEntry, time) == 27, "layout shared with the store");
static_assert(offsetof(MacFilterEntry, week) == 37, "layout shared with the store");
static_assert(sizeof(MacFilterEntry) == 38, "layout shared with the store");

// When a device may reach the network.
struct __attribute__((packed)) SchNetAccEntry {
    int32_t time_control;   // as the app gave it
    char time_span[14];     // terminated: HHMMSS,HHMMSS, or empty
    uint8_t week;           // mask of weekdays, 7 bits
    char name[50];          // terminated
    char SchNetAccMac[13];  // terminated: 12 digits in upper case
};
static_assert(offsetof(SchNetAccEntry, time_span) == 4, "layout shared with the store");
static_assert(offsetof(SchNetAccEntry, week) == 18, "layout shared with the store");
static_assert(offsetof(SchNetAccEntry, name) == 19, "layout shared with the store");
static_assert(offsetof(SchNetAccEntry, SchNetAccMac) == 69, "layout shared with the store");
static_assert(sizeof(SchNetAccEntry) == 82, "layout shared with the store");

// A keyword of the URL filter.
struct UrlFilterEntry {
    char keyword[31];  // terminated
    uint8_t list;      // 0 black list, 1 white list
};
static_assert(offsetof(UrlFilterEntry, list) == 31 && sizeof(UrlFilterEntry) == 32, "layout shared with the store");

// A bandwidth rule. Other programs keep rules in the same table and use fields that this one leaves alone.
struct __attribute__((packed)) QosRuleEntry {
    char name[16];
    uint8_t enabled;
    uint8_t mac[6];
    uint8_t flags;  // bit 0: the limits are a guaranteed minimum instead of a maximum; bit 4: the app does not see it
    uint8_t reserved_24[3];
    in_addr start;  // of the range of addresses
    in_addr end;
    uint32_t upload_limit;
    uint32_t download_limit;
    uint8_t unused_43[65];
    char reserved_108[40];
    uint8_t second_mac[6];
    uint8_t protocol;   // 0 TCP and UDP, 1 TCP, 2 UDP
    uint16_t ports[2];  // first and last
    in_addr second_start;
    in_addr second_end;
    uint8_t second_ports[2];  // 4 bytes with the reserved ones behind it
    uint8_t reserved_169[2];
    uint8_t vlan_171;  // 255 in this and in the next fields: unset
    uint8_t vlan_172;
    uint8_t unused_173[6];
    uint8_t priority;
    uint8_t vlan_180;
    uint8_t vlan_181;
    // How long a rule is, the store decides. It has room to do so: a read fills what the store keeps, and a delete
    // hands back all of it.
    uint8_t of_the_store[330];
};
static_assert(offsetof(QosRuleEntry, enabled) == 16, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, mac) == 17, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, flags) == 23, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, reserved_24) == 24, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, start) == 27, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, end) == 31, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, upload_limit) == 35, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, download_limit) == 39, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, unused_43) == 43, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, reserved_108) == 108, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, second_mac) == 148, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, protocol) == 154, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, ports) == 155, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, second_start) == 159, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, second_end) == 163, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, second_ports) == 167, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, reserved_169) == 169, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, vlan_171) == 171, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, vlan_172) == 172, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, unused_173) == 173, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, priority) == 179, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, vlan_180) == 180, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, vlan_181) == 181, "layout shared with the store");
static_assert(offsetof(QosRuleEntry, of_the_store) == 182, "layout shared with the store");
static_assert(sizeof(QosRuleEntry) == 512, "room for the store's longest rule");

// A text of a record that was read, as a C string. The last byte of the field is the terminator's, whatever another
// program left there.
template <size_t Size>
const char *field_text(char (&field)[Size]) {
    field[Size - 1] = '\0';
    return field;
}

#endif
