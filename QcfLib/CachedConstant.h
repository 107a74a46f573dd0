#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Ptr.h"

namespace Qcf::Eval {

/// The precomputed value of a literal list or set whose elements are all constants.
///
/// Whoever builds the tree stores it before the node is shared; evaluation never fills it. Once
/// stored, the container is not counted any more, so that evaluating threads do not write to the
/// memory they share; it lives exactly as long as the node, and so must every pointer to it. An
/// evaluation context keeps the function that it evaluated alive for that reason.
template <typename Container>
class CachedConstant {
public:
    explicit CachedConstant(Entity const & owner) : owner_(owner) {}
    CachedConstant(CachedConstant const &) = delete;
    CachedConstant & operator=(CachedConstant const &) = delete;
    ~CachedConstant() { drop(); }

    Container const * cachedGetVal() const { return cachedGetVal_.get(); }

    /// Takes the value over; it must be `copyOnWrite`. Publishes the change.
    void cachedGetValIs(Ptr<Container> value) const {
        drop();
        cachedGetVal_ = std::move(value);
        if (cachedGetVal_) {
            cachedGetVal_->indexIs();
            cachedGetVal_->immortalIs();
        }
        owner_.publisher().publish({.attribute = "cachedGetVal", .subject = &owner_});
    }

private:
    void drop() const {
        if (cachedGetVal_) {
            cachedGetVal_->mortalIs();
            cachedGetVal_ = nullptr;
        }
    }

    Entity const & owner_;
    mutable Ptr<Container> cachedGetVal_;
};

} // namespace Qcf::Eval
