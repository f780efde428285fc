#include "ui/ui_loader.h"

#include "ui/destination_outline_view.h"
#include "ui/transfer_window_widget.h"
#include "ui/widget_classes.h"
#include "widgets/QVTransferButtonCells.h"
#include "widgets/QVTransferCenterTextFieldCell.h"
#include "widgets/QVTransferLinkButton.h"
#include "widgets/QVTransferPausedAndStopButton.h"
#include "widgets/QVTransferProgressIndicator.h"
#include "widgets/QVTransferToolbarBackground.h"

namespace qvt::ui {

namespace {

QWidget* makeOwnClass(const QString& className, QWidget* parent) {
    if (className == QLatin1String("QVTransferWindow")) return new QVTransferWindowWidget(parent);
    if (className == QLatin1String("QVTransferToolbarBackground"))
        return new QVTransferToolbarBackground(parent);
    if (className == QLatin1String("QVTransferCenterTextFieldCell"))
        return new QVTransferCenterTextFieldCell(parent);
    if (className == QLatin1String("QVTransferBlueButtonCell"))
        return new QVTransferBlueButtonCell(parent);
    if (className == QLatin1String("QVTransferDarkGrayButtonCell"))
        return new QVTransferDarkGrayButtonCell(parent);
    if (className == QLatin1String("QVTransferButtonCell")) return new QVTransferButtonCell(parent);
    if (className == QLatin1String("QVTransferLinkButton")) return new QVTransferLinkButton(parent);
    if (className == QLatin1String("QVTransferPausedAndStopButton"))
        return new QVTransferPausedAndStopButton(parent);
    if (className == QLatin1String("QVTransferProgressIndicator"))
        return new QVTransferProgressIndicator(parent);
    return nullptr;
}

}  // namespace

TransferUiLoader::TransferUiLoader(QVTransferActions& actions, QObject* parent)
    : QUiLoader(parent), actions_(actions) {}

QWidget* TransferUiLoader::createWidget(const QString& className, QWidget* parent,
                                        const QString& name) {
    QWidget* widget = makeOwnClass(className, parent);
    if (!widget && className == QLatin1String("QVTransferTableViewForNewFolder"))
        widget = new DestinationOutlineView(actions_, parent);
    if (!widget) widget = makeRegisteredWidget(className, parent);
    if (!widget && className.startsWith(QLatin1String("QVTransfer"))) {
        // A control class another part supplies but has not registered: its plain base keeps
        // the layout intact.
        widget = new QWidget(parent);
    }
    if (!widget) return QUiLoader::createWidget(className, parent, name);
    widget->setObjectName(name);
    return widget;
}

}  // namespace qvt::ui
