#pragma once

#include "Platform/Framework/Types.h"

#include <span>
#include <string_view>

/// The words of policy text that mean something by themselves. They are rows of the schema, which
/// the grammars for editors are written from, too.
namespace Qcf::Text {

/// Words that no function, parameter, constant or list is called by unless in quotes. Sorted.
/// Words that mean something only where no name can stand ("permit", "seq") are not among them.
std::span<std::string_view const> keywords();

/// Keywords that an operand follows: "and", "in", "add". Sorted.
std::span<std::string_view const> operatorWords();

/// Words that are a constant, names of standard communities among them. Sorted.
std::span<std::string_view const> constantWords();

/// Words that mean something in lists and tests alone. Sorted.
std::span<std::string_view const> listWords();

/// A letter or `_`, then letters, digits, `_` and inner `-`.
bool hasNameShape(std::string_view word);

/// Whether the word may stand as a name without quotes: it has the shape of one and is no keyword,
/// attribute or literal.
bool isPlainName(std::string_view word);

/// The name as it stands in a text: in quotes where it must.
String nameWord(std::string_view name);

} // namespace Qcf::Text
