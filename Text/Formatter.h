#pragma once

#include "Text/Message.h"

#include <optional>

namespace Qcf::Text {

/// Policy text laid out: the same tokens and comments in the same order, other blanks.
///
///     Sources sources;
///     U32 const file = sources.add(path, readFile(path));
///     Messages messages;
///     if (auto const text = formatText(sources, file, messages)) ...
///
/// Two blanks a level, four before a line that goes on with a statement. Whatever began a
/// line goes on to do so, and within values nothing else does. A block that stands over several
/// lines, or that makes its line wider than 120 columns, has each of its statements and its `}` on
/// a line of their own; any other stays on its line. At most one empty line is kept, none at the
/// edges of brackets. Comments behind code that stood in one column stand in one column again.
///
/// What is laid out already does not change again. Takes time linear in the text. Nothing, and an
/// error told, where a token is not of the language, brackets do not pair or the text does not
/// begin with a declaration; what is wrong otherwise is laid out as it is.
std::optional<String> formatText(Sources const & sources, U32 file, Messages & messages);

} // namespace Qcf::Text
