// The framework's property and list functions: typed access and who frees what.
#include <gtest/gtest.h>

#include "dynf.h"

namespace {

TEST(DynfPropertyTest, ValuesAreReadOnlyAsTheirOwnType) {
    dynf_property_h number = dynf_property_create_int("n", -7);
    dynf_property_h flag = dynf_property_create_bool("b", true);
    dynf_property_h json = dynf_property_create_json_string("j", "[1]");
    int integer = 0;
    bool boolean = false;
    const char* text = nullptr;
    EXPECT_EQ(DYNF_ERROR_NONE, dynf_property_get_int(number, &integer));
    EXPECT_EQ(-7, integer);
    EXPECT_NE(DYNF_ERROR_NONE, dynf_property_get_bool(number, &boolean));
    EXPECT_NE(DYNF_ERROR_NONE, dynf_property_get_string(number, &text));
    EXPECT_EQ(DYNF_ERROR_NONE, dynf_property_get_bool(flag, &boolean));
    EXPECT_TRUE(boolean);
    EXPECT_NE(DYNF_ERROR_NONE, dynf_property_get_int(flag, &integer));
    // A JSON text reads as a text.
    EXPECT_EQ(DYNF_ERROR_NONE, dynf_property_get_string(json, &text));
    EXPECT_STREQ("[1]", text);
    EXPECT_EQ(DYNF_PROPERTY_JSON_STRING, dynf_property_get_type(json));
    for (dynf_property_h property : {number, flag, json}) {
        dynf_property_destroy(property);
    }
}

TEST(DynfPropertyTest, AListOwnsWhatItHoldsAndTakesAPropertyOnce) {
    dynf_property_list_h first = dynf_property_list_create();
    dynf_property_list_h second = dynf_property_list_create();
    dynf_property_h property = dynf_property_create_string("s", "x");
    ASSERT_EQ(DYNF_ERROR_NONE, dynf_property_list_push(first, property));
    // Taken twice it would be freed twice.
    EXPECT_NE(DYNF_ERROR_NONE, dynf_property_list_push(first, property));
    EXPECT_NE(DYNF_ERROR_NONE, dynf_property_list_push(second, property));
    // Freeing it alone is left to the list.
    dynf_property_destroy(property);
    EXPECT_EQ(1u, dynf_property_list_size(first));
    EXPECT_EQ(property, dynf_property_list_find(first, "s"));
    EXPECT_EQ(nullptr, dynf_property_list_find(first, "S"));
    EXPECT_EQ(nullptr, dynf_property_list_get(first, 1));
    dynf_property_list_destroy(first);
    dynf_property_list_destroy(second);
}

}  // namespace
