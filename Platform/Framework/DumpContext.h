#pragma once

#include "Platform/Framework/RefCount.h"
#include "Platform/Framework/Types.h"

#include <functional>
#include <string_view>
#include <unordered_set>

/// What a dump of objects is written to: formatted text, and a memory of what was dumped already,
/// so that what several objects share is shown once.
///
///     auto const context = makePtr<DumpContext>();
///     function->dumpState(context, 0);
///     std::cout << context->text();
///
/// Printing is const because a dump is handed from object to object as a constant; one thread uses
/// it.
class DumpContext : public PtrInterface {
public:
    using Sink = std::function<void(std::string_view)>;

    /// Collects the text; see `text()`.
    DumpContext() = default;
    /// Hands each printed piece to `sink` instead of collecting it.
    explicit DumpContext(Sink sink) : sink_(std::move(sink)) {}

    /// Prints as printf does. An indentation is written `"%*c"` with the width as an int and `' '`.
    void print(char const * format, ...) const __attribute__((format(printf, 2, 3)));
    /// True when `object` was not asked about before in this dump.
    bool firstTime(void const * object) const { return seen_.insert(object).second; }
    /// What was printed so far; empty when a sink takes it.
    String const & text() const noexcept { return text_; }

private:
    /// Where all pieces go through.
    void write(std::string_view piece) const;

    Sink sink_;
    /// Mutable, as what is printed is no part of what the context says to the objects that it
    /// visits.
    mutable String text_;
    mutable std::unordered_set<void const *> seen_;
};
