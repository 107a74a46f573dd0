#pragma once

#include "Text/Cursor.h"
#include "Text/Scope.h"

namespace Qcf::Text {

/// Reads the values of a test's route, each as the JSON that the routes format has for it. What may
/// stand there follows from the attribute; constants may. Throw Recovery after an error.
///
///     RouteValues values(cursor, scope);
///     json += values.value(attribute); // `{ 65000:1, OURS }` becomes [4259840001, ...]
class RouteValues {
public:
    /// Both must outlive it.
    RouteValues(Cursor & cursor, Scope const & scope) : cursor_(cursor), scope_(scope) {}

    String value(Eval::NodeClass const & attribute);
    String number();
    String truth();

private:
    std::optional<Literal> literal() const;
    template <typename T>
    T const & wanted(std::optional<Literal> const & found, char const * what);
    template <typename T>
    String textOf(char const * what);
    String text(Eval::NodeClass const & attribute);
    String rareValue(Eval::NodeClass const & attribute);
    String esi();
    String triState();
    String bandwidth();
    String integer(Eval::NodeClass const & attribute);
    String community();
    String set(Eval::NodeClass const & attribute);
    String standardMember(Eval::NodeClass const & attribute);
    String constantMembers(Eval::NodeClass const & attribute, Constant const & constant);
    String ribs();
    String rib();

    Cursor & cursor_;
    Scope const & scope_;
};

/// A text in JSON, quotes around it.
String jsonText(std::string_view text);

} // namespace Qcf::Text
