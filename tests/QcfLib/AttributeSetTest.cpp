#include "QcfLib/NodeClass.h"
#include "QcfLib/QcfEvalAttributeSet.h"

#include <sstream>

#include <gtest/gtest.h>

using namespace Qcf::Eval;

namespace {

template <typename Set>
String textOf(Set const & set) {
    std::ostringstream out;
    out << set;
    return out.str();
}

template <typename Set>
void readsBackEveryBit() {
    for (std::size_t bit = 0; bit <= Set::width; ++bit) {
        Set const set(bit < Set::width ? U64{1} << bit : (U64{1} << Set::width) - 1);
        EXPECT_EQ(Set::strepToValue(textOf(set)), set);
        if (bit < Set::width) {
            EXPECT_EQ(Set::bitOf(Set::nameOf(bit)), bit);
            EXPECT_NE(textOf(set).find(String("'") + Set::nameOf(bit) + "': True"), String::npos);
            // Alphabetical, which is part of the format.
            EXPECT_TRUE(bit == 0 || String(Set::nameOf(bit - 1)) < Set::nameOf(bit));
        }
    }
    EXPECT_THROW(Set(U64{1} << Set::width), std::out_of_range);
    EXPECT_THROW(Set(~U64{0}), std::out_of_range);
    EXPECT_EQ(Set::bitOf("nothing"), Set::width);
}

template <typename Set>
void refusesFlagsThatItHasNot() {
    Set set(1);
    for (std::size_t const bit : {Set::bitOf("nothing"), std::size_t{63}, std::size_t{64}}) {
        EXPECT_THROW(set.insert(bit), std::out_of_range);
        EXPECT_FALSE(set.contains(bit));
        EXPECT_EQ(set, Set(1));
    }
}

} // namespace

TEST(AttributeSets, ReadBackWhatTheyWrite) {
    readsBackEveryBit<AttributeSet>();
    readsBackEveryBit<ModifiableAttributeSet>();
    EXPECT_EQ(AttributeSet::width, 51U);
    EXPECT_EQ(ModifiableAttributeSet::width, 23U);
    String const text = textOf(AttributeSet(1));
    EXPECT_TRUE(text.starts_with("Value('Qcf::Eval::AttributeSet', ** {'afi': True, "
                                 "'afi_safi': False, 'aigp_accumulation_metric': False, "));
    EXPECT_TRUE(text.ends_with("'source_session_remote_router_id': False, 'weight': False})"));
    EXPECT_TRUE(textOf(ModifiableAttributeSet())
                    .starts_with("Value('Qcf::Eval::ModifiableAttributeSet', ** "
                                 "{'aigp_accumulation_metric': False, "));
}

TEST(AttributeSets, HaveNoFlagsBeyondTheirWidth) {
    refusesFlagsThatItHasNot<AttributeSet>();
    refusesFlagsThatItHasNot<ModifiableAttributeSet>();
}

TEST(AttributeSets, Grammar) {
    struct Case {
        char const * text;
        U64 bits;
    } const good[] = {
        {"Value('Qcf::Eval::AttributeSet', ** {})", 0},
        {"Value('Qcf::Eval::AttributeSet', **{'afi_safi':true,'afi':1})", 3},
        {"  Value( 'Qcf::Eval::AttributeSet' ,** {\n'afi' : True , 'afi': False } ) ", 0},
        {"Value('Qcf::Eval::AttributeSet', ** {'weight': 1, 'afi': 0})", U64{1} << 50},
    };
    for (auto const & c : good) {
        EXPECT_EQ(AttributeSet::strepToValue(c.text).value(), c.bits) << c.text;
    }
    for (char const * const wrong :
         {"", "Value", "Value('Qcf::Eval::AttributeSet'", "Value('Qcf::Eval::AttributeSet', ** {",
          "Value('Qcf::Eval::ModifiableAttributeSet', ** {})",
          "Value('Qcf::Eval::AttributeSet', ** {'afi': Yes})",
          "Value('Qcf::Eval::AttributeSet', ** {'afi'})",
          "Value('Qcf::Eval::AttributeSet', ** {'nothing': True})",
          "Value('Qcf::Eval::AttributeSet', ** {'afi: True})",
          "Value('Qcf::Eval::AttributeSet', ** {'afi': True 'afi_safi': True})",
          "Value('Qcf::Eval::AttributeSet', ** {'afi': True})x",
          "Value('Qcf::Eval::AttributeSet', * {'afi': True})"}) {
        EXPECT_THROW(AttributeSet::strepToValue(wrong), ParseError) << wrong;
    }
    String const two = textOf(AttributeSet(5)) + " rest";
    CharRange range(two);
    EXPECT_EQ(AttributeSet(range), AttributeSet(5));
    EXPECT_EQ(range.view(), " rest");
}

TEST(AttributeSets, AccessAsText) {
    AccessibleAttributes access;
    EXPECT_EQ(access.toStrep(), "");
    access.writableAttributes.insert(ModifiableAttributeSet::bitOf("med"));
    EXPECT_EQ(access.toStrep(), "med = write\n");
    access.readableAttributes.insert(AttributeSet::bitOf("med"));
    access.readableAttributes.insert(AttributeSet::bitOf("aigp_metric"));
    access.writableAttributes.insert(ModifiableAttributeSet::bitOf("weight"));
    EXPECT_EQ(access.toStrep(), "aigp.metric = read\nmed = read/write\nweight = write\n");
}

// A flag's name is the language name without "input." and with underscores; derived ones share it.
TEST(AttributeSets, FlagsOfTheAttributes) {
    std::size_t flagged = 0;
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.attribute == nullptr || nodeClass.attribute->readBit < 0) {
            continue;
        }
        ++flagged;
        String name = nodeClass.attribute->languageName;
        name = name.starts_with("input.") ? name.substr(6) : name;
        std::replace(name.begin(), name.end(), '.', '_');
        auto const * const read =
            AttributeSet::nameOf(static_cast<std::size_t>(nodeClass.attribute->readBit));
        EXPECT_TRUE(name == read || name.starts_with(String(read) + "_")) << name << " " << read;
        if (nodeClass.attribute->modifiable) {
            EXPECT_STREQ(ModifiableAttributeSet::nameOf(
                             static_cast<std::size_t>(nodeClass.attribute->writeBit)),
                         read);
        }
    }
    EXPECT_EQ(flagged, 99U);
}
