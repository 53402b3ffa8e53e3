// Readers of the request tree. They are safe for every kind of item, none included, and apply one rule to wrong types
// everywhere: a text key that holds no string counts as absent, and a number key is worth its cJSON integer value
// (a double is cut to the range of an int, true is 1, and whatever else is no number is 0).
#ifndef BASE_JSON_H
#define BASE_JSON_H

#include <cjson/cJSON.h>

// The item under `key`, whatever the case of its letters; nullptr when `parent` has none or is no object.
inline const cJSON *find_item(const cJSON *parent, const char *key) {
    return cJSON_GetObjectItem(parent, key);
}

// The string under `key`, owned by the tree; nullptr when there is none.
inline const char *find_text(const cJSON *parent, const char *key) {
    return cJSON_GetStringValue(find_item(parent, key));
}

// The integer value of an item that is there.
inline int integer_value(const cJSON *item) {
    return item->valueint;
}

#endif
