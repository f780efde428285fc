// Builds the window's widgets from the interface definition, making the wizard's own control
// classes for the class names the definition uses.
#pragma once

#include <QUiLoader>

class QVTransferPrivate;

namespace qvt::ui {

class TransferUiLoader : public QUiLoader {
    Q_OBJECT
  public:
    // Controls that work on the controller's state directly are made for `owner`.
    explicit TransferUiLoader(QVTransferPrivate& owner, QObject* parent = nullptr);
    QWidget* createWidget(const QString& className, QWidget* parent = nullptr,
                          const QString& name = QString()) override;

  private:
    QVTransferPrivate& owner_;
};

}  // namespace qvt::ui
