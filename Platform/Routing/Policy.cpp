#include "Platform/Routing/Policy.h"

namespace Routing::Policy {

String RouteMapFeatures::toStrep() const {
    String text;
    for (String const & feature : features_) {
        if (!text.empty()) {
            text.push_back(',');
        }
        text += feature;
    }
    return text;
}

} // namespace Routing::Policy
