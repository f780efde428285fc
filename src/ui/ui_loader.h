// Builds the window's widgets from the interface definition, making the wizard's own control
// classes for the class names the definition uses.
#pragma once

#include <QUiLoader>

namespace qvt {
class QVTransferActions;
}

namespace qvt::ui {

class TransferUiLoader : public QUiLoader {
    Q_OBJECT
  public:
    // Controls that hand the user's actions to the controller are made for `actions`.
    explicit TransferUiLoader(QVTransferActions& actions, QObject* parent = nullptr);
    QWidget* createWidget(const QString& className, QWidget* parent = nullptr,
                          const QString& name = QString()) override;

  private:
    QVTransferActions& actions_;
};

}  // namespace qvt::ui
