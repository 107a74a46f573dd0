#include "Mirror/StatusFunctions.h"

#include "Mirror/Publishable.h"

namespace Qcf::Mirror {

StatusFunctions::StatusFunctions(Ptr<AllFunctionStatus> status)
    : status_(std::move(status)),
      subscription_(status_->publisher().subscribe([this](Notification const & notification) {
          if (std::string_view(notification.attribute) == "aet") {
              names_.insert(notification.name);
          }
      })) {
    for (auto const & [name, function] : status_->aet()) {
        names_.insert(name);
    }
}

StatusFunctions::~StatusFunctions() {
    // The status lives on, and would call what is gone.
    status_->publisher().unsubscribe(subscription_);
}

FunctionTable const & StatusFunctions::table() {
    if (!names_.empty()) {
        Changes changes;
        for (String const & name : names_) {
            auto const function = status_->aet(name);
            changes.emplace_hint(changes.end(), name,
                                 function ? &publishableFunction(name, *function) : nullptr);
        }
        tableIs(changed(table_, changes));
    }
    return table_;
}

FunctionTable StatusFunctions::changed(FunctionTable const & base, Changes const & changes) {
    std::vector<FunctionTable::Change> steps;
    steps.reserve(changes.size());
    for (auto const & [name, function] : changes) {
        FunctionTable::Change & step = steps.emplace_back();
        step.name = name;
        if (function) {
            step.value = NamedFunction{function, digests_.of(*function)};
        }
    }
    // Whatever becomes of the changes: what is refused must not be kept, nor what goes.
    digests_.clear();
    return base.with(std::move(steps));
}

void StatusFunctions::tableIs(FunctionTable table) {
    table_ = std::move(table);
    digests_.tableIs(table_);
    names_.clear();
}

} // namespace Qcf::Mirror
