// Sharing, cloning and moving content between handles on json-glib node trees.
#include <gtest/gtest.h>

#include "SharedJson.h"

using common::json::JsonType;
using common::json::SharedJson;

namespace {

SharedJson parse(const char* text) {
    return SharedJson::Create(text);
}

TEST(SharedJsonTest, CopiesShareTheTreeButClonesAndMovesDoNot) {
    SharedJson original = parse(R"({"a":1})");
    SharedJson shared = original;  // NOLINT(performance-unnecessary-copy-initialization)
    SharedJson cloned = original.clone();
    shared["a"].set(SharedJson(2LL));
    EXPECT_EQ(original["a"].get_int(), 2);
    EXPECT_EQ(cloned["a"].get_int(), 1);
    EXPECT_TRUE(shared.same_node(original));
    EXPECT_FALSE(cloned.same_node(original));

    // A null that has never been used is shared all the same, by copy and by assignment.
    SharedJson fresh;
    SharedJson copied = fresh;
    SharedJson assigned;
    assigned = fresh;
    copied.init(JsonType::arrayValue);
    EXPECT_EQ(fresh.type(), JsonType::arrayValue);
    EXPECT_EQ(assigned.to_string(false), "[]");
    SharedJson taken = std::move(original);
    // NOLINTNEXTLINE(bugprone-use-after-move): a moved-from handle is a fresh null
    EXPECT_EQ(original.type(), JsonType::nullValue);
    EXPECT_FALSE(original.same_node(taken));
    EXPECT_EQ(taken.to_string(false), R"({"a":2})");
}

TEST(SharedJsonTest, SetMovesChildContentIntoItsParent) {
    SharedJson root = parse(R"({"a":{"b":[1,2]},"c":3})");
    SharedJson observer = root;
    root.set(root["a"]);  // a handle on a child of the very node being replaced
    EXPECT_EQ(observer.to_string(false), R"({"b":[1,2]})");
    SharedJson scalar = parse(R"({"a":"text"})");
    scalar.set(scalar["a"]);
    EXPECT_EQ(scalar.to_string(false), R"("text")");
}

TEST(SharedJsonTest, AppendTakesContentAndLeavesSourceNull) {
    SharedJson list = parse("[]");
    SharedJson item = parse(R"({"k":"v"})");
    SharedJson other = parse(R"({"inner":[true]})");
    SharedJson inner = other["inner"];
    list.append(std::move(item));
    list.append(std::move(inner));
    EXPECT_EQ(list.to_string(false), R"([{"k":"v"},[true]])");
    // NOLINTNEXTLINE(bugprone-use-after-move): what a move leaves behind is tested
    EXPECT_EQ(item.type(), JsonType::nullValue);
    EXPECT_EQ(other.to_string(false), R"({"inner":null})");
    SharedJson own = parse(R"([1,"two"])");
    own.append(own[1]);
    EXPECT_EQ(own.to_string(false), R"([1,null,"two"])");
}

}  // namespace
