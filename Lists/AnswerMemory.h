#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <vector>

namespace Qcf::Lists {

/// What one thread was answered last, so that the same need not be searched for again: routes of a
/// table share their paths and communities. Lists never change, so neither do their answers.
///
///     AnswerMemory<CommunityQuestion<U64>> memory;
///     memory.answerTo(CommunityQuestion<U64>{list.number(), community}, [&] { return ...; });
///
/// A question has a `hash()` of 64 bits, of which the high ones depend on all that it says; what
/// keeps one is assigned it, is compared with it by `==`, and is as a default one that nobody asks.
/// Holds `places` answers from the first question on and allocates no more; a new answer takes the
/// place of an older one. Belongs to one thread.
template <typename KeptQuestion, std::size_t places = 1024>
class AnswerMemory {
public:
    /// What `ask()` answers or answered: it is called where the question is not remembered.
    template <typename Question, typename Ask>
    bool answerTo(Question const & question, Ask const & ask) {
        if (kept_.empty()) {
            kept_.resize(places);
        }
        // By the hash first: comparing what nearly always differs is guessed wrongly by processors.
        U64 const hash = question.hash();
        Kept & kept = kept_[(hash >> 32) % places];
        if (kept.hash != hash || !(kept.question == question)) {
            kept.answer = ask();
            kept.hash = hash;
            kept.question = question;
        }
        return kept.answer;
    }

private:
    struct Kept {
        U64 hash = 0;
        KeptQuestion question;
        bool answer = false;
    };

    /// None before the first question.
    std::vector<Kept> kept_;
};

} // namespace Qcf::Lists
