#pragma once

#include "Documents/DocumentBuilder.h"
#include "Documents/NodeObject.h"
#include "Documents/Position.h"

#include <unordered_map>
#include <unordered_set>

namespace Qcf::Documents {

/// What stands in a document before the place that is read: nodes by their keys, functions by their
/// names. An entry that could not be read is remembered too, so that whoever refers to it is told
/// so, and not that there is no such thing.
///
/// Answers are node numbers of the builder, which must outlive this. Failures are DocumentErrors at
/// the place that refers.
///
/// A function can be called from where it is read on, so that calls never go round in a circle.
class EarlierNodes {
public:
    explicit EarlierNodes(DocumentBuilder & builder) : builder_(builder) {}

    /// The node that `json`, an object with the member `ref`, refers to and that may stand there.
    U32 findReferenced(JsonValue const & json, Position const & position) const;
    /// The function that a call names. `call` is the object of the call, `position` its callee's.
    U32 findCalled(JsonValue const & call, Position const & position) const;

    /// Lets calls name the function of that number. Fails where another one has its name.
    void addFunction(NodeObject const & object, U32 number);
    /// Remembers the keys and the functions that stand anywhere in an entry that could not be read.
    void addUnread(JsonValue const & json);

private:
    /// The same of one object alone.
    void addUnreadObject(JsonValue const & json);

    DocumentBuilder & builder_;
    /// Numbers of functions by their names.
    std::unordered_map<String, U32> functions_;
    /// Names and keys that stand in entries that could not be read.
    std::unordered_set<String> unreadFunctions_;
    std::unordered_set<U64> unreadKeys_;
};

} // namespace Qcf::Documents
