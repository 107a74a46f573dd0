#pragma once

#include <string_view>

/// The files in Questions/report as they are built in: edit them there, the build follows.
namespace Qcf::Questions {

/// The page with `@@name@@` where something is filled in.
extern std::string_view const reportTemplate;
extern std::string_view const reportStyle;
extern std::string_view const reportScript;

} // namespace Qcf::Questions
