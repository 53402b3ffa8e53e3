// SPDX-License-Identifier: MIT
// The object "qos": how much bandwidth ranges of LAN addresses may use.
#ifndef OBJECTS_QOS_H
#define OBJECTS_QOS_H

#include <cjson/cJSON.h>
#include <netinet/in.h>

#include <cstdint>

constexpr int kMostRules = 10;

// The addresses of a rule, both included. The start may lie behind the end: nobody checks.
struct AddressRange {
    in_addr start;
    in_addr end;
};

// A rule as the app sees it.
struct QosRuleView {
    char range[32];  // START-END
    uint32_t upload_limit;
    uint32_t download_limit;
    int32_t index;  // in the store's table, rules that the app does not see included
};

// A rule as the app wants it.
struct QosRuleRequest {
    char range[32];
    uint32_t upload_limit;
    uint32_t download_limit;
};

// What became of a rule. The app gets other numbers.
enum QosResult {
    kQosBadRange = -1,
    kQosDone = 0,
    kQosUnreadable = 1,
    kQosRefused = 2,  // by the store
    kQosFull = 3,
    kQosConflict = 4,
    kQosNoSuchRule = 5,
};

// Reads START-END. False: the text has no "-", or one of its parts has not the length of an address. What has the
// length and is no address is 0.0.0.0.
bool parse_range(const char *text, AddressRange &range);

// Whether a new range may not stand beside an existing one.
bool ranges_conflict(const AddressRange &wanted, const AddressRange &existing);

// Reads the rules that the app may see, in the table's order. Their number, or -1 when one rule can't be read.
int ipQosList(QosRuleView (&rows)[kMostRules]);

// Adds a rule.
QosResult ipQosAdd(const QosRuleRequest &request);

// Adds the rule that "ipRuleMod" describes. 0, or with the message: 1 the table is full, 2 its addresses are in
// conflict with another rule's, -1 for all else.
int qosAddAction(const cJSON *rule);

#endif
