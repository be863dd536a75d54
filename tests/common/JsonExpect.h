// Expectation on the exact text of a JsonException.
#pragma once

#include <gtest/gtest.h>

#include "JsonException.h"

// Expects statement to throw a common::json::JsonException whose text is exactly text.
#define EXPECT_JSON_THROW(statement, text)                  \
    try {                                                   \
        statement;                                          \
        ADD_FAILURE() << "no exception from " #statement;   \
    } catch (const common::json::JsonException& e) {        \
        EXPECT_STREQ(e.what(), text) << "from " #statement; \
    }
