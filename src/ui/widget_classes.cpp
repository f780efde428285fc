#include "ui/widget_classes.h"

#include <QHash>
#include <mutex>

namespace qvt::ui {

namespace {

struct Registry {
    std::mutex mutex;
    QHash<QString, WidgetMaker> makers;
};

Registry& registry() {
    static Registry r;
    return r;
}

}  // namespace

void registerWidgetClass(const QString& className, WidgetMaker maker) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    r.makers.insert(className, std::move(maker));
}

QWidget* makeRegisteredWidget(const QString& className, QWidget* parent) {
    WidgetMaker maker;
    {
        Registry& r = registry();
        std::lock_guard lock(r.mutex);
        maker = r.makers.value(className);
    }
    return maker ? maker(parent) : nullptr;
}

}  // namespace qvt::ui
