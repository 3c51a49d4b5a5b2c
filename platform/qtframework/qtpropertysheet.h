// A property sheet with one page, in Qt 6 Widgets. The page's controls are
// real widgets made from its dialog template (kind, id, text, position and
// size, converted from dialog units with the template's font); the
// framework's property page stays the one that holds the control state and
// runs data exchange. The sheet only mirrors the page: what the user does
// to a widget goes to the page's control, and OK and Cancel are the page's.
#pragma once

#include <QDialog>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/framework/propertypage.h"
#include "platform/qtframework/dialogunits.h"

class QPushButton;
class QWidget;

namespace platform::qt {

class QtPropertySheet : public QDialog {
 public:
  // Shows `page` in a new sheet: runs the page's Create (and so its
  // OnInitDialog) and then puts the controls' state into the widgets. Null
  // when the page's template is not in the resource chain. `page` and
  // `parent` must outlive the sheet, which is the caller's to destroy.
  // Needs a QApplication.
  static std::unique_ptr<QtPropertySheet> Open(CPropertyPage& page, QWidget* parent = nullptr);
  ~QtPropertySheet() override;

  // The widget of control `id`: QGroupBox, QRadioButton, QLabel or
  // QLineEdit; null when the page has no control with that id.
  QWidget* control(int32_t id) const;
  QWidget* pageWidget() const { return pageWidget_; }
  QPushButton* okButton() const { return okButton_; }
  QPushButton* cancelButton() const { return cancelButton_; }
  const QFont& pageFont() const { return pageFont_; }
  DialogBaseUnits baseUnits() const { return baseUnits_; }

  // Cancel, also when the window is closed: the page's OnCancel, then the
  // sheet closes with Rejected.
  void reject() override;

 private:
  QtPropertySheet(CPropertyPage& page, const DialogTemplate& dialog, QWidget* parent);
  void BuildPage(const DialogTemplate& dialog);
  // The page's control state into the widgets.
  void ShowControlState();
  // OK: the page validates and closes, or shows its message and stays.
  void PressOK();

  struct ControlWidget {
    const DialogControl* resource;
    QWidget* widget;
  };

  CPropertyPage& page_;
  QFont pageFont_;
  DialogBaseUnits baseUnits_;
  QWidget* pageWidget_ = nullptr;
  QPushButton* okButton_ = nullptr;
  QPushButton* cancelButton_ = nullptr;
  std::vector<ControlWidget> controls_;
  bool showingState_ = false;  // widget signals from ShowControlState are not the user's
};

}  // namespace platform::qt
