// Member and element access, copies and moves, parsing and printing of JsonValue.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JsonExpect.h"
#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;
using common::json::SharedJson;

namespace {

JsonValue parse(const char* text) {
    return JsonValue::Create(text);
}

TEST(JsonValueAccessTest, WritesBuildTheContainersTheyNeedAndReadsAddNothing) {
    JsonValue array;
    array[2]["x"] = true;
    EXPECT_EQ(array.toString(), R"([null,null,{"x":true}])");

    JsonValue value = parse(R"({"a":{"b":1},"list":[5]})");
    const JsonValue& readOnly = value;
    EXPECT_EQ(&readOnly["missing"], &JsonValue::Null::null_instance());
    EXPECT_FALSE(value.isMember("missing"));
    // get() hands out a copy, or the default.
    JsonValue a = value.get("a", JsonValue());
    a["b"] = 2;
    EXPECT_EQ(value.get("missing", 9).asInt(), 9);
    EXPECT_EQ(value["list"].get(0, 0).asInt(), 5);
    EXPECT_EQ(value["list"].get(1, -1).asInt(), -1);
    value["missing"];
    EXPECT_EQ(value.toString(), R"({"a":{"b":1},"list":[5],"missing":null})");
}

TEST(JsonValueAccessTest, MemberAccessOnOtherKindsThrowsInvalidType) {
    JsonValue number(7);
    JsonValue text("t");
    JsonValue array = parse("[1]");
    const JsonValue& constArray = array;
    EXPECT_JSON_THROW(number["x"], "invalid type");
    EXPECT_JSON_THROW(constArray["x"], "invalid type");
    EXPECT_JSON_THROW(array.removeMember("x"), "invalid type");
    EXPECT_JSON_THROW(number.append(1), "invalid type");
    EXPECT_JSON_THROW(parse("{}")[0], "invalid type");
    EXPECT_JSON_THROW(text.resize(1), "invalid type");
}

// References handed out stay valid while siblings are added, the value itself moves, or the
// member changes kind where it stands (also through a shared handle).
TEST(JsonValueAccessTest, HandedOutReferencesStayValid) {
    JsonValue value = parse(R"({"a":1,"list":[1,2,3]})");
    JsonValue& a = value["a"];
    JsonValue& first = value["list"][0];
    JsonValue& second = value["list"][1];
    for (int i = 0; i < 200; ++i) {
        value["m" + std::to_string(i)] = i;
        value["list"].append(i);
    }
    a = JsonValue(JsonType::objectValue);
    a["x"] = 2;
    second = JsonValue(JsonType::arrayValue);
    second.append("in");
    first = "still cached";
    EXPECT_EQ(value["a"].toString(), R"({"x":2})");
    EXPECT_EQ(value["list"][0].asString(), "still cached");
    EXPECT_EQ(value["list"][1].toString(), R"(["in"])");
    EXPECT_EQ(value["list"].size(), 203u);

    SharedJson handle = value;
    handle["a"].init(JsonType::arrayValue);
    value["a"].append(1);
    EXPECT_EQ(value["a"].toString(), "[1]");

    std::vector<JsonValue> values;
    values.emplace_back(JsonType::objectValue);
    JsonValue& member = values[0]["m"];
    for (int i = 0; i < 20; ++i) {
        values.emplace_back(i);  // reallocations move values[0]
    }
    member = "through the old reference";
    EXPECT_EQ(values[0].toString(), R"({"m":"through the old reference"})");
}

TEST(JsonValueAccessTest, DroppedMembersAndElementsTakeTheirCachedChildren) {
    JsonValue object;
    object["a"]["deep"] = 1;
    object.removeMember("a");
    EXPECT_EQ(object.toString(), "{}");
    object["a"] = 2;  // a fresh member, not the dropped child
    EXPECT_EQ(object.toString(), R"({"a":2})");

    JsonValue value = parse(R"([0,1,2,3])");
    value[3] = "cached";
    value.resize(2);
    EXPECT_EQ(value.toString(), "[0,1]");
    value.resize(4);
    EXPECT_EQ(value.toString(), "[0,1,null,null]");
    EXPECT_TRUE(value[3].isNull());  // the cached child of the dropped element is gone
    JsonValue fresh;
    fresh.resize(1);
    EXPECT_EQ(fresh.toString(), "[null]");
}

TEST(JsonValueAccessTest, AssignmentsBetweenParentChildAndSiblingMoveOrCopyWhole) {
    JsonValue value = parse(R"({"a":{"b":[1,2]},"c":3})");
    JsonValue copy = value;
    value = std::move(value["a"]);
    copy = copy["a"];
    EXPECT_EQ(value.toString(), R"({"b":[1,2]})");
    EXPECT_EQ(copy.toString(), R"({"b":[1,2]})");
    value["b"].append(3);
    EXPECT_EQ(value.toString(), R"({"b":[1,2,3]})");

    JsonValue parent = parse(R"({"a":1})");
    parent["a"] = std::move(parent);  // the parent is copied into its child
    // NOLINTNEXTLINE(bugprone-use-after-move): a self-move is tested
    EXPECT_EQ(parent.toString(), R"({"a":{"a":1}})");

    JsonValue siblings = parse(R"({"a":1,"b":{"c":[true]}})");
    JsonValue& b = siblings["b"];
    b["c"];
    siblings["a"] = std::move(siblings["b"]);
    EXPECT_EQ(siblings.toString(), R"({"a":{"c":[true]},"b":null})");
    EXPECT_TRUE(b.isNull());
}

TEST(JsonValueCopyTest, CopiesAreDeepAndMovesLeaveTheSourceNull) {
    JsonValue original = parse(R"({"a":[1,{"b":2}]})");
    JsonValue constructed(original);
    JsonValue assigned;
    assigned = original;
    constructed["a"][1]["b"] = 3;
    assigned["a"].append(4);
    EXPECT_EQ(original.toString(), R"({"a":[1,{"b":2}]})");
    EXPECT_EQ(constructed.toString(), R"({"a":[1,{"b":3}]})");
    EXPECT_EQ(assigned.toString(), R"({"a":[1,{"b":2},4]})");

    JsonValue target(std::move(constructed));
    assigned = std::move(target);
    // NOLINTNEXTLINE(bugprone-use-after-move): what a move leaves behind is tested
    EXPECT_TRUE(constructed.isNull());
    // NOLINTNEXTLINE(bugprone-use-after-move): what a move leaves behind is tested
    EXPECT_TRUE(target.isNull());

    JsonValue list;
    JsonValue item = parse(R"({"k":[1]})");
    item["k"];  // a cached child that must not follow the content
    list.append(std::move(item));
    list.append(original["a"][0]);
    // NOLINTNEXTLINE(bugprone-use-after-move): what a move leaves behind is tested
    EXPECT_TRUE(item.isNull());
    EXPECT_FALSE(item.isMember("k"));
    EXPECT_EQ(list.toString(), R"([{"k":[1]},1])");
    EXPECT_EQ(original.toString(), R"({"a":[1,{"b":2}]})");
}

// Answers keep the bytes json-glib's generator gave them, with its exponent form repaired and
// U+001F escaped (the generator leaves it raw, which is not JSON).
TEST(JsonValueTextTest, UnparsableTextIsNullAndCompactTextKeepsTheBytes) {
    EXPECT_TRUE(JsonValue::Create(R"({"jsonrpc":"2.0","id":1)").isNull());
    EXPECT_EQ(JsonValue::Create("").toString(), "null");
    JsonValue value =
        JsonValue::Create(R"( { "z" : [ 1 , 2.5 , true , null , "s" ] , "a" : { } } )");
    EXPECT_EQ(value.toString(false), R"({"z":[1,2.5,true,null,"s"],"a":{}})");
    EXPECT_NE(value.toString(true).find('\n'), std::string::npos);

    JsonValue numbers;
    for (double d : {1.0, -0.0, 0.1, 1e20, 1e-7, 1e-300, 1.5e300, 0.0001}) {
        numbers.append(d);
    }
    numbers.append(-9223372036854775807LL - 1);
    EXPECT_EQ(numbers.toString(),
              "[1.0,-0.0,0.10000000000000001,1e+20,9.9999999999999995e-08,1e-300,"
              "1.5000000000000001e+300,0.0001,-9223372036854775808]");

    JsonValue text;
    text["k\"\x01"] = "q\" b\\ /\b\f\n\r\t\x01\x1e\x1f\x7f \xc3\xa9\xff";
    EXPECT_EQ(text.toString(),
              "{\"k\\\"\\u0001\":\"q\\\" b\\\\ /\\b\\f\\n\\r\\t\\u0001\\u001e\\u001f\\u007f "
              "\xc3\xa9\xff\"}");
}

}  // namespace
