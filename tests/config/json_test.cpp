// gb::json through its public operations, including the deliberate quirks of
// the configuration format.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using cfgtest::Ref;

namespace {

Ref<gb::json> doc(const char* text)
{
    return Ref<gb::json>(new gb::json(text));
}

std::vector<std::string> walkNames(gb::json& d)
{
    std::vector<std::string> names;
    std::string value;
    std::string name;
    for (bool more = d.first_child(value, &name); more; more = d.next_child(value, &name))
        names.push_back(name);
    return names;
}

} // namespace

TEST(JsonDocument, ParsesPrintsAndCounts)
{
    auto d = doc(R"({"a":1,"b":"x","c":[1,2],"d":{"e":null}})");
    EXPECT_EQ(d->count(), 4);
    EXPECT_TRUE(d->is_object());
    EXPECT_EQ(d->to_string(false), R"({"a":1,"b":"x","c":[1,2],"d":{"e":null}})");
    EXPECT_NE(d->to_string(true).find('\n'), std::string::npos);

    EXPECT_FALSE(d->attach_text("{\"a\":"));
    EXPECT_EQ(d->count(), 0);
    EXPECT_EQ(d->to_string(false), "");
    EXPECT_FALSE(d->attach_text(nullptr));

    EXPECT_TRUE(d->attach_text("[1,2,3]"));
    EXPECT_EQ(d->count(), 3);
    EXPECT_FALSE(d->is_object());
}

TEST(JsonDocument, TypedGettersCheckTheNodeType)
{
    auto d = doc(R"({"t":true,"n":7,"f":2.5,"s":"text","o":{"k":1}})");
    bool b = false;
    int i = 0;
    double f = 0;
    std::string s;
    EXPECT_TRUE(d->get_value("t", b));
    EXPECT_TRUE(b);
    EXPECT_TRUE(d->get_value("n", i));
    EXPECT_EQ(i, 7);
    EXPECT_TRUE(d->get_value("f", f));
    EXPECT_DOUBLE_EQ(f, 2.5);
    EXPECT_TRUE(d->get_value("s", s));
    EXPECT_EQ(s, "text");

    // Wrong type or missing key: false, output untouched.
    i = 42;
    s = "keep";
    EXPECT_FALSE(d->get_value("s", i));
    EXPECT_FALSE(d->get_value("n", s));
    EXPECT_FALSE(d->get_value("missing", i));
    EXPECT_FALSE(d->get_value("", i));
    EXPECT_FALSE(d->get_value(nullptr, i));
    EXPECT_EQ(i, 42);
    EXPECT_EQ(s, "keep");
}

TEST(JsonDocument, NodeTextFollowsTheNodeType)
{
    auto d = doc(R"({"n":3,"t":true,"f":false,"z":null,"s":"hi","o":{"a":[1]}})");
    std::string text;
    EXPECT_TRUE(d->get_value_as_string("n", text, false));
    EXPECT_EQ(text, "3.000000");
    EXPECT_TRUE(d->get_value_as_string("n", text, true));
    EXPECT_EQ(text, "3");
    d->get_value_as_string("t", text, false);
    EXPECT_EQ(text, "true");
    d->get_value_as_string("f", text, false);
    EXPECT_EQ(text, "false");
    d->get_value_as_string("z", text, false);
    EXPECT_EQ(text, "null");
    d->get_value_as_string("s", text, true);
    EXPECT_EQ(text, "hi");
    d->get_value_as_string("o", text, true);
    EXPECT_EQ(text, R"({"a":[1]})");
    EXPECT_FALSE(d->get_value_as_string("nope", text, true));
    EXPECT_EQ(text, R"({"a":[1]})");
}

TEST(JsonDocument, DoubleWriteKeepsTheIntPart)
{
    auto d = doc("{}");
    ASSERT_TRUE(d->set_value("k", 1.5));
    int i = -1;
    double f = 0;
    EXPECT_TRUE(d->get_value("k", i));
    EXPECT_EQ(i, 0);
    EXPECT_TRUE(d->get_value("k", f));
    EXPECT_DOUBLE_EQ(f, 1.5);

    ASSERT_TRUE(d->set_value("k", 7));
    ASSERT_TRUE(d->set_value("k", 2.25));
    EXPECT_TRUE(d->get_value("k", i));
    EXPECT_EQ(i, 7);

    // A string member turned into a number starts with the int part 0 too.
    ASSERT_TRUE(d->set_value("s", "text"));
    ASSERT_TRUE(d->set_value("s", 3.5));
    EXPECT_TRUE(d->get_value("s", i));
    EXPECT_EQ(i, 0);
    std::string s;
    EXPECT_FALSE(d->get_value("s", s));

    ASSERT_TRUE(d->set_value("s", true));
    bool b = false;
    EXPECT_TRUE(d->get_value("s", b));
    EXPECT_TRUE(b);
    EXPECT_EQ(d->to_string(false), R"({"k":2.25,"s":true})");
}

TEST(JsonDocument, SeparatorSwallowsTheFollowingCharacter)
{
    auto d = doc(R"({"x":{"z":1,"yz":2},"a":5})");
    int i = 0;
    EXPECT_TRUE(d->get_value("x/yz", i));
    EXPECT_EQ(i, 1);
    // "a/b" drops b with the separator: it names a.
    EXPECT_TRUE(d->get_value("a/b", i));
    EXPECT_EQ(i, 5);
    // "x//z": the second "/" is swallowed, z remains.
    EXPECT_TRUE(d->get_value("x//z", i));
    EXPECT_EQ(i, 1);

    auto made = doc(nullptr);
    ASSERT_TRUE(made->set_value("a/xb/yc", 5));
    EXPECT_EQ(made->to_string(false), R"({"a":{"b":{"c":5}}})");
    EXPECT_TRUE(made->is_object());
}

TEST(JsonDocument, ScalarsHaveNoMembers)
{
    auto d = doc(R"({"n":1})");
    EXPECT_FALSE(d->set_value("n/xm", 2));
    EXPECT_EQ(d->to_string(false), R"({"n":1})");
}

TEST(JsonDocument, ReplacingAMemberWithADocumentDropsTheMembersAfterIt)
{
    auto d = doc(R"({"a":1,"b":2,"c":3})");
    auto val = doc(R"({"new":true})");
    ASSERT_TRUE(d->set_value("a", val.get()));
    EXPECT_EQ(d->to_string(false), R"({"a":{"new":true}})");
    EXPECT_EQ(val->count(), 0);
    EXPECT_EQ(val->to_string(false), "");

    // Replacing the last member keeps the earlier ones, and the list stays
    // usable for appends.
    auto d2 = doc(R"({"a":1,"b":2,"c":3})");
    auto val2 = doc("[1]");
    ASSERT_TRUE(d2->set_value("b", val2.get()));
    ASSERT_TRUE(d2->set_value("d", 4));
    EXPECT_EQ(d2->to_string(false), R"({"a":1,"b":[1],"d":4})");

    // A new member is named with the whole key text.
    auto d3 = doc("{}");
    auto val3 = doc("{}");
    ASSERT_TRUE(d3->set_value("p/xq", val3.get()));
    EXPECT_EQ(d3->to_string(false), R"({"p":{"p/xq":{}}})");

    EXPECT_FALSE(d3->set_value("k", d3.get()));
    EXPECT_FALSE(d3->set_value("k", val3.get())); // now empty
}

TEST(JsonDocument, NullKeyAppendsOnlyToArrays)
{
    auto obj = doc(R"({"a":1})");
    EXPECT_FALSE(obj->set_value(nullptr, 5));
    EXPECT_EQ(obj->to_string(false), R"({"a":1})");

    auto arr = doc("[1]");
    EXPECT_TRUE(arr->set_value(nullptr, 5));
    EXPECT_TRUE(arr->set_value(nullptr, "s"));
    EXPECT_TRUE(arr->set_value(nullptr, false));
    auto moved = doc(R"({"m":1})");
    EXPECT_TRUE(arr->set_value(nullptr, moved.get()));
    EXPECT_EQ(arr->to_string(false), R"([1,5,"s",false,{"m":1}])");
    EXPECT_EQ(moved->count(), 0);

    // An emptied array document gets a new array root.
    ASSERT_TRUE(arr->create_empty(true));
    arr->clear();
    EXPECT_TRUE(arr->set_value(nullptr, 9));
    EXPECT_EQ(arr->to_string(false), "[9]");
}

TEST(JsonDocument, WalkReportsTextsAndNames)
{
    auto d = doc(R"({"a":2,"b":"x","c":{"d":1}})");
    std::string value;
    std::string name;
    ASSERT_TRUE(d->first_child(value, &name));
    EXPECT_EQ(name, "a");
    EXPECT_EQ(value, "2.000000");
    ASSERT_TRUE(d->next_child(value, &name));
    EXPECT_EQ(value, "x");
    ASSERT_TRUE(d->next_child(value, &name));
    EXPECT_EQ(name, "c");
    EXPECT_EQ(value, R"({"d":1})");
    EXPECT_FALSE(d->next_child(value, &name));
    EXPECT_EQ(value, "");
    EXPECT_FALSE(d->next_child(value));

    auto empty = doc(nullptr);
    value = "x";
    EXPECT_FALSE(empty->first_child(value));
    EXPECT_EQ(value, "");
}

TEST(JsonDocument, RemoveKeepsAWalkGoing)
{
    auto d = doc(R"({"a":1,"b":2,"c":3,"d":4})");
    std::string value;
    std::string name;
    // The current member is the first one.
    ASSERT_TRUE(d->first_child(value, &name));
    ASSERT_TRUE(d->remove("a"));
    ASSERT_TRUE(d->next_child(value, &name));
    EXPECT_EQ(name, "b");
    // The current member is in the middle.
    ASSERT_TRUE(d->next_child(value, &name));
    EXPECT_EQ(name, "c");
    ASSERT_TRUE(d->remove("c"));
    ASSERT_TRUE(d->next_child(value, &name));
    EXPECT_EQ(name, "d");
    EXPECT_EQ(d->to_string(false), R"({"b":2,"d":4})");

    // Removing every member as it comes.
    auto all = doc(R"({"a":1,"b":2,"c":3})");
    std::vector<std::string> seen;
    for (bool more = all->first_child(value, &name); more; more = all->next_child(value, &name)) {
        seen.push_back(name);
        EXPECT_TRUE(all->remove(name.c_str()));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(all->count(), 0);

    // After the first member went, the new first one goes too before the walk
    // moves on.
    auto twice = doc(R"({"a":1,"b":2,"c":3})");
    ASSERT_TRUE(twice->first_child(value, &name));
    ASSERT_TRUE(twice->remove("a"));
    ASSERT_TRUE(twice->remove("b"));
    ASSERT_TRUE(twice->next_child(value, &name));
    EXPECT_EQ(name, "c");

    EXPECT_FALSE(twice->remove("zz"));
    EXPECT_FALSE(doc(nullptr)->remove("a"));
}

TEST(JsonDocument, ReplacementDuringAWalkEndsIt)
{
    auto d = doc(R"({"a":1,"b":2,"c":3})");
    auto val = doc("{}");
    std::string value;
    std::string name;
    ASSERT_TRUE(d->first_child(value, &name));
    ASSERT_TRUE(d->next_child(value, &name)); // at b, which goes with a
    ASSERT_TRUE(d->set_value("a", val.get()));
    EXPECT_FALSE(d->next_child(value, &name));
}

TEST(JsonDocument, ChangeKeyRenamesInPlace)
{
    auto d = doc(R"({"a":1,"bb":2})");
    EXPECT_TRUE(d->change_key("a", "longer_name"));
    EXPECT_TRUE(d->change_key("bb", "c"));
    EXPECT_EQ(d->to_string(false), R"({"longer_name":1,"c":2})");

    // No check for a key in use: two members, lookups find the first.
    EXPECT_TRUE(d->change_key("c", "longer_name"));
    EXPECT_EQ(d->to_string(false), R"({"longer_name":1,"longer_name":2})");
    int i = 0;
    EXPECT_TRUE(d->get_value("longer_name", i));
    EXPECT_EQ(i, 1);

    EXPECT_FALSE(d->change_key("missing", "x"));
    EXPECT_FALSE(d->change_key("", "x"));
    EXPECT_FALSE(d->change_key("longer_name", ""));
    EXPECT_FALSE(d->change_key(nullptr, "x"));
    EXPECT_FALSE(doc(nullptr)->change_key("a", "b"));
}

TEST(JsonDocument, ArraysReadAsTexts)
{
    auto d = doc(R"({"arr":[1.9,"s",true,{"k":1}],"n":1})");
    std::vector<std::string> items{"stale"};
    ASSERT_TRUE(d->get_as_array("arr", items));
    ASSERT_EQ(items.size(), 4u);
    EXPECT_EQ(items[0], "1");
    EXPECT_EQ(items[1], "s");
    EXPECT_EQ(items[2], "true");
    EXPECT_EQ(Ref<gb::json>(new gb::json(items[3].c_str()))->to_string(false), R"({"k":1})");

    EXPECT_FALSE(d->get_as_array("n", items));
    EXPECT_TRUE(items.empty());
}

TEST(JsonDocument, SubDocumentsAreDeepCopies)
{
    auto d = doc(R"({"o":{"k":1},"s":"x"})");
    gb::json* sub = nullptr;
    ASSERT_TRUE(d->get_value("o", sub));
    Ref<gb::json> owned(sub);
    EXPECT_EQ(owned->to_string(false), R"({"k":1})");
    owned->set_value("k", 2);
    int i = 0;
    d->get_value("o/xk", i);
    EXPECT_EQ(i, 1);

    gb::json* str = nullptr;
    ASSERT_TRUE(d->get_value("s", str));
    Ref<gb::json> ownedStr(str);
    EXPECT_EQ(ownedStr->to_string(false), R"("x")");

    gb::json* none = nullptr;
    EXPECT_FALSE(d->get_value("zz", none));
    EXPECT_EQ(none, nullptr);
}

TEST(JsonDocument, ReferenceCountDestroysAtZero)
{
    auto* d = new gb::json("{}");
    EXPECT_EQ(d->add_ref(), 2);
    EXPECT_EQ(d->release(), 1);
    EXPECT_EQ(d->release(), 0);
}

TEST(JsonDocument, HostileInputFailsCleanly)
{
    auto d = doc("{}");
    // Past cJSON's nesting limit the parse fails; nothing is left behind.
    const std::string deep = std::string(5000, '[') + std::string(5000, ']');
    EXPECT_FALSE(d->attach_text(deep.c_str()));
    EXPECT_EQ(d->count(), 0);
    const std::string deepObj = [] {
        std::string t;
        for (int i = 0; i < 5000; ++i)
            t += "{\"a\":";
        return t + "1" + std::string(5000, '}');
    }();
    EXPECT_FALSE(d->attach_text(deepObj.c_str()));

    // Absurdly deep paths are refused instead of building deep trees.
    std::string path;
    for (int i = 0; i < 10000; ++i)
        path += "a/x";
    EXPECT_FALSE(d->set_value(path.c_str(), 1));
    int i = 0;
    EXPECT_FALSE(d->get_value(path.c_str(), i));

    EXPECT_FALSE(d->attach_text("{\"a\":\"\xff\xfe\"")); // truncated
    EXPECT_TRUE(d->attach_text("{\"\xff\xfe\":\"\xc3\"}"));
    EXPECT_EQ(walkNames(*d), (std::vector<std::string>{"\xff\xfe"}));
}
