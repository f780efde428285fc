// The link between the interface definition's "localeText" names and the controller's
// localised texts: a control names the locale property it shows, without the "locale" prefix
// ("NEXT_btn" for localeNEXT_btn).
#pragma once

#include <optional>
#include <string>
#include <string_view>

class QVTransferPrivate;

namespace qvt::ui {

// The text of the controller's property "locale" + `property`, or nothing when there is no
// such property.
std::optional<std::string> localeText(const QVTransferPrivate& owner, std::string_view property);

}  // namespace qvt::ui
