// SPDX-License-Identifier: MIT
// Readers of the request tree. They are safe for every kind of item, none included unless they say so, and apply one
// rule to wrong types everywhere: a text key that holds no string counts as absent, and a number key is worth its cJSON
// integer value (a double is cut to the range of an int, true is 1, and whatever else is no number is 0).
#ifndef BASE_JSON_H
#define BASE_JSON_H

#include <cjson/cJSON.h>

#include <cstdint>

#include "base/text.h"

// What an item is: cJSON_String and its like, without the flags that cJSON keeps beside it; cJSON_Invalid when there is
// no item. The loader looks up each function that the program names, which costs a request 600 instructions, and the
// fields of an item are as public as the functions that read them.
inline int type_of(const cJSON *item) {
    return item != nullptr ? item->type & 0xff : cJSON_Invalid;
}

// Whether there is something. A null stands for nothing: it is as good as missing where a request may leave things out
// of a list.
inline bool is_there(const cJSON *item) {
    return item != nullptr && type_of(item) != cJSON_NULL;
}

// The text of an item, owned by the tree; nullptr when it is no string.
inline const char *string_value(const cJSON *item) {
    return item != nullptr && type_of(item) == cJSON_String ? item->valuestring : nullptr;
}

// The item under `key`, whatever the case of its letters; nullptr when `parent` has none or is no object.
inline const cJSON *find_item(const cJSON *parent, const char *key) {
    return cJSON_GetObjectItem(parent, key);
}

// The string under `key`, owned by the tree; nullptr when there is none.
inline const char *find_text(const cJSON *parent, const char *key) {
    return string_value(find_item(parent, key));
}

// The integer value of an item that is there.
inline int integer_value(const cJSON *item) {
    return item->valueint;
}

// The value of an item that is there, for numbers that the store keeps as unsigned words: the range of an int ends
// halfway. A fraction is dropped, a number out of range is the nearest in it, and what is no number is worth what
// integer_value() says.
inline uint32_t unsigned_value(const cJSON *item) {
    if (type_of(item) != cJSON_Number) {
        return static_cast<uint32_t>(item->valueint);
    }
    if (!(item->valuedouble > 0)) {
        return 0;
    }
    return item->valuedouble < UINT32_MAX ? static_cast<uint32_t>(item->valuedouble) : UINT32_MAX;
}

// The first element of an array, from which `next` leads to the others. nullptr: it is empty, or there is no array. To
// cJSON the members of an object are elements, too; here they are none.
inline const cJSON *array_first(const cJSON *array) {
    return array != nullptr && type_of(array) == cJSON_Array ? array->child : nullptr;
}

// The number of elements, null ones included; 0 when there is no array.
inline int array_size(const cJSON *array) {
    int size = 0;
    for (const cJSON *element = array_first(array); element != nullptr; element = element->next) {
        ++size;
    }
    return size;
}

// An array's element number `index`, from 0; nullptr when there is none.
inline const cJSON *array_item(const cJSON *array, int index) {
    const cJSON *element = index >= 0 ? array_first(array) : nullptr;
    for (int i = 0; i < index && element != nullptr; ++i) {
        element = element->next;
    }
    return element;
}

// The string that is an array's element number `index`; nullptr when there is none.
inline const char *array_text(const cJSON *array, int index) {
    return string_value(array_item(array, index));
}

// Adds an item under a key that outlives the tree, such as a literal: unlike cJSON_Add...ToObject() this copies no key,
// which counts in long lists. Takes the item, also when it can't be added.
inline void add_item(cJSON *object, const char *literal_key, cJSON *item) {
    if (!cJSON_AddItemToObjectCS(object, literal_key, item)) {
        cJSON_Delete(item);
    }
}

// Adds an element to an array; `array` may be nullptr. Takes the element, also when it can't be added.
inline void add_element(cJSON *array, cJSON *element) {
    if (!cJSON_AddItemToArray(array, element)) {
        cJSON_Delete(element);
    }
}

// Adds a whole number to a reply, under a key that outlives the tree. cJSON prints the same digits, but by way of the C
// library's floating point, and back to see whether nothing was lost: some 3,000 instructions a number. Only the digits
// are kept, so the readers above take the item for no number.
inline void add_number(cJSON *object, const char *literal_key, long long value) {
    add_item(object, literal_key, cJSON_CreateRaw(Decimal(value).c_str()));
}

#endif
