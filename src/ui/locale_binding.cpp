#include "ui/locale_binding.h"

#include <unordered_map>

#include "session/qvtransfer_private.h"

namespace qvt::ui {

namespace {

using LocaleMember = std::string QVTransferPrivate::*;

const std::unordered_map<std::string_view, LocaleMember>& localeMembers() {
#define QVT_UI_LOCALE_MEMBER(property, key) {#property, &QVTransferPrivate::locale##property},
    static const std::unordered_map<std::string_view, LocaleMember> members = {
        QVT_LOCALE_TEXTS(QVT_UI_LOCALE_MEMBER)};
#undef QVT_UI_LOCALE_MEMBER
    return members;
}

}  // namespace

std::optional<std::string> localeText(const QVTransferPrivate& owner, std::string_view property) {
    const auto& members = localeMembers();
    const auto found = members.find(property);
    if (found == members.end()) return std::nullopt;
    return owner.*(found->second);
}

}  // namespace qvt::ui
