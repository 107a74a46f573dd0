#pragma once

#include "Lists/AsPathList.h"
#include "Platform/Routing/AsnVector.h"

#include <algorithm>
#include <array>
#include <span>

namespace Qcf::Lists {

/// What an AS-path list is asked about a path of one sequence, to be remembered. The path is lent.
///
///     if (PathQuestion::fits(path)) {
///         memory.answerTo(PathQuestion(list, path, origin), ask);
///     }
class PathQuestion {
public:
    /// The longest path that is remembered: most are shorter, and what is kept is of one size.
    static constexpr std::size_t longest = 9;

    /// `path` must fit; `origin` as for `AsPathList::permits`.
    PathQuestion(AsPathList const & list, Routing::Bgp::AsnVector const & path, U64 origin)
        : list_(list.number()), origin_(origin), asns_(path.asns()) {}

    /// Whether the path is one sequence that is short enough.
    static bool fits(Routing::Bgp::AsnVector const & path) {
        auto const segments = path.segments();
        return segments.size() == 1 && segments.front().count <= longest &&
               segments.front().type == Routing::Bgp::SegmentType::sequence;
    }

    /// Of all that is asked, for AnswerMemory.
    U64 hash() const {
        U64 mixed = list_ + origin_;
        for (Routing::Bgp::Asn const asn : asns_) {
            mixed = (mixed ^ asn) * 0x9e3779b97f4a7c15U;
        }
        return mixed;
    }

private:
    friend class KeptPathQuestion;

    U64 list_;
    U64 origin_;
    std::span<Routing::Bgp::Asn const> asns_;
};

/// A PathQuestion as AnswerMemory keeps it: with a copy of the path. At first one that nobody asks.
class KeptPathQuestion {
public:
    KeptPathQuestion & operator=(PathQuestion const & question) {
        list_ = question.list_;
        origin_ = question.origin_;
        count_ = static_cast<U32>(question.asns_.size());
        std::copy(question.asns_.begin(), question.asns_.end(), asns_.begin());
        return *this;
    }
    bool operator==(PathQuestion const & question) const {
        return list_ == question.list_ && origin_ == question.origin_ &&
               std::ranges::equal(std::span(asns_.data(), count_), question.asns_);
    }

private:
    U64 list_ = 0;
    U64 origin_ = 0;
    U32 count_ = 0;
    std::array<Routing::Bgp::Asn, PathQuestion::longest> asns_{};
};

} // namespace Qcf::Lists
