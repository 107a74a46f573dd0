#include "Platform/Routing/Policy.h"

namespace Routing::Policy {

String RouteMapFeatures::toStrep() const {
    String text;
    // The set is in order, so that equal features have equal texts.
    for (String const & feature : features_) {
        if (!text.empty()) {
            text.push_back(',');
        }
        text += feature;
    }
    return text;
}

} // namespace Routing::Policy
