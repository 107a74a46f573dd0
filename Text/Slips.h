#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>
#include <vector>

/// What people write who know other languages, and what is meant by it: tables that messages are
/// made of. Rows are looked up only where a text is wrong already.
namespace Qcf::Text {

/// A word or sign of another language, and what to say of it.
struct Slip {
    std::string_view found;
    char const * code;
    char const * text;       ///< what this language has in its place
    char const * suggestion; ///< what to write; empty where it is not one thing
};

/// What begins statements elsewhere: "accept", "elif". Null for all other words.
Slip const * findStatementSlip(std::string_view word);
/// What begins declarations elsewhere: "filter", "define". Null for all other words.
Slip const * findDeclarationSlip(std::string_view word);
/// What compares, joins, negates or comments elsewhere: "==", "&&". Null for all other signs.
Slip const * findSignSlip(std::string_view sign);

/// The change that a sign of arithmetic makes here ("+=" for "+"); empty for those that have none,
/// null for what is no such sign.
char const * changeOfSign(std::string_view sign);

/// What others call an operator, and what it is here, by what stands on its left: "has any" and
/// "matches" for "contains". Empty for others.
std::vector<std::string_view> operatorsOfForeignWord(std::string_view word);
/// What others call an attribute or a function, whatever its case, with `-` or `_`, and what it is
/// here: "local_preference" for "local-pref". Empty for others.
std::string_view nameOfForeignWord(std::string_view word);

} // namespace Qcf::Text
