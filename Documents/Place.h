#pragma once

#include "QcfLib/AetNode.h"

#include <exception>
#include <string_view>

namespace Qcf::Documents {

/// Where the thing stands that a node is made from: an object of a document, a construct of a
/// policy text. Whoever makes nodes knows no more of it than that an error can be told there, and
/// that a node can be noted there.
///
/// Passed by reference and not kept. Notes are taken even where nobody will ask: they must be
/// cheap.
class Place {
public:
    /// Tells that `subject` wants something else than was found, by an exception.
    [[noreturn]] void fail(std::string_view subject, std::string_view wanted,
                           std::string_view found) const {
        throwError(subject, wanted, found);
        std::terminate();
    }
    /// The place as messages call it within its text: a JSON pointer, `LINE:COLUMN`.
    virtual String text() const = 0;
    /// Notes that the node stands here. An equal node that stands for another one is noted again.
    virtual void note(Eval::AetNodeBase const & node) const = 0;

protected:
    /// Throws the error that `fail` is asked for; must not return.
    virtual void throwError(std::string_view subject, std::string_view wanted,
                            std::string_view found) const = 0;

    // Nobody owns one by its base.
    ~Place() = default;
    Place() = default;
    Place(Place const &) = default;
    Place & operator=(Place const &) = default;
};

} // namespace Qcf::Documents
