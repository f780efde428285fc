#include "ui/locale_binding.h"

#include <unordered_map>

#include "qvtransfer/QVTransfer.h"

namespace qvt::ui {

namespace {

using LocaleMember = std::string QVTransfer::*;

const std::unordered_map<std::string_view, LocaleMember>& localeMembers() {
#define QVT_UI_LOCALE_MEMBER(property, key) {#property, &QVTransfer::locale##property},
    static const std::unordered_map<std::string_view, LocaleMember> members = {
        QVT_LOCALE_TEXTS(QVT_UI_LOCALE_MEMBER)};
#undef QVT_UI_LOCALE_MEMBER
    return members;
}

}  // namespace

std::optional<std::string> localeText(const QVTransfer& owner, std::string_view property) {
    const auto& members = localeMembers();
    const auto found = members.find(property);
    if (found == members.end()) return std::nullopt;
    return owner.*(found->second);
}

}  // namespace qvt::ui
