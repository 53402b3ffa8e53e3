// SPDX-License-Identifier: MIT
#include "base/json.h"

#include <gtest/gtest.h>

#include <string>

#include "base/resource.h"

namespace {

TEST(UnsignedValue, KeepsEveryWord) {
    const struct {
        const char *json;
        uint32_t value;
    } rows[] = {
        {"0",             0         },
        {"1",             1         },
        {"2147483647",    2147483647},
        {"2147483648",    2147483648},
        {"4294967294",    4294967294},
        {"4294967295",    4294967295},
 // The nearest word.
        {"4294967296",    4294967295},
        {"1e300",         4294967295},
        {"1e999",         4294967295},
        {"-1",            0         },
        {"-4294967295",   0         },
        {"-1e999",        0         },
        {"-0.5",          0         },
        {"1.999",         1         },
        {"4294967294.99", 4294967294},
 // No numbers.
        {"true",          1         },
        {"false",         0         },
        {"null",          0         },
        {"\"7\"",         0         },
        {"[7]",           0         },
        {"{\"a\":7}",     0         },
    };
    for (const auto &row : rows) {
        const Json item(cJSON_Parse(row.json));
        ASSERT_TRUE(item) << row.json;
        EXPECT_EQ(unsigned_value(item.get()), row.value) << row.json;
    }
}

TEST(Array, HasElements) {
    const Json array(cJSON_Parse("[\"a\",null,3,\"\"]"));
    ASSERT_TRUE(array);
    EXPECT_EQ(array_size(array.get()), 4);
    EXPECT_STREQ(cJSON_GetStringValue(array_first(array.get())), "a");
    EXPECT_TRUE(cJSON_IsNull(array_first(array.get())->next));
    EXPECT_STREQ(array_text(array.get(), 0), "a");
    EXPECT_EQ(array_text(array.get(), 1), nullptr);
    EXPECT_EQ(array_text(array.get(), 2), nullptr);
    EXPECT_STREQ(array_text(array.get(), 3), "");
    EXPECT_EQ(array_text(array.get(), 4), nullptr);
    EXPECT_EQ(array_text(array.get(), -1), nullptr);
    EXPECT_EQ(array_item(array.get(), 2)->valueint, 3);
    EXPECT_EQ(array_item(array.get(), 4), nullptr);
    EXPECT_EQ(array_item(array.get(), -1), nullptr);
}

TEST(IsThere, TakesNullForNothing) {
    for (const char *json : {"{}", "[]", "\"\"", "0", "true", "false"}) {
        const Json item(cJSON_Parse(json));
        ASSERT_TRUE(item) << json;
        EXPECT_TRUE(is_there(item.get())) << json;
    }
    const Json null(cJSON_Parse("null"));
    ASSERT_TRUE(null);
    EXPECT_FALSE(is_there(null.get()));
    EXPECT_FALSE(is_there(nullptr));
}

TEST(Array, IsNothingElse) {
    for (const char *json : {"[]", "{\"a\":\"b\"}", "\"a\"", "1", "null"}) {
        const Json item(cJSON_Parse(json));
        ASSERT_TRUE(item) << json;
        EXPECT_EQ(array_size(item.get()), 0) << json;
        EXPECT_EQ(array_first(item.get()), nullptr) << json;
        EXPECT_EQ(array_text(item.get(), 0), nullptr) << json;
    }
    EXPECT_EQ(array_size(nullptr), 0);
    EXPECT_EQ(array_first(nullptr), nullptr);
    EXPECT_EQ(array_text(nullptr, 0), nullptr);
}

TEST(AddNumber, PrintsWhatCjsonPrints) {
    for (const long long value : {0LL, 1LL, -1LL, 100LL, 86400LL, 2147483647LL, -2147483648LL, 4294967295LL}) {
        const Json ours(cJSON_CreateObject());
        const Json theirs(cJSON_CreateObject());
        add_number(ours.get(), "n", value);
        cJSON_AddNumberToObject(theirs.get(), "n", static_cast<double>(value));
        EXPECT_STREQ(OwnedText(cJSON_Print(ours.get())).get(), OwnedText(cJSON_Print(theirs.get())).get());
    }
    add_number(nullptr, "n", 1);  // owns and drops the item: the sanitizers say whether
}

}  // namespace
