#include "platform/qtframework/qtpropertysheet.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace platform::qt {
namespace {

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

std::unique_ptr<QtPropertySheet> QtPropertySheet::Open(CPropertyPage& page, QWidget* parent) {
  const DialogTemplate* dialog = FindDialogTemplate(page.templateId());
  if (dialog == nullptr || !page.Create()) return nullptr;
  std::unique_ptr<QtPropertySheet> sheet(new QtPropertySheet(page, *dialog, parent));
  sheet->ShowControlState();
  return sheet;
}

QtPropertySheet::QtPropertySheet(CPropertyPage& page, const DialogTemplate& dialog, QWidget* parent)
    : QDialog(parent),
      page_(page),
      pageFont_(DialogFont(dialog.fontName, dialog.pointSize)),
      baseUnits_(BaseUnitsOf(pageFont_)) {
  setWindowTitle(ToQString(page.caption()));
  setFont(pageFont_);
  BuildPage(dialog);

  auto* tabs = new QTabWidget(this);
  tabs->addTab(pageWidget_, ToQString(page.caption()));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  okButton_ = buttons->button(QDialogButtonBox::Ok);
  cancelButton_ = buttons->button(QDialogButtonBox::Cancel);
  connect(okButton_, &QPushButton::clicked, this, [this] { PressOK(); });
  connect(cancelButton_, &QPushButton::clicked, this, [this] { reject(); });

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(tabs);
  layout->addWidget(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

QtPropertySheet::~QtPropertySheet() = default;

void QtPropertySheet::BuildPage(const DialogTemplate& dialog) {
  pageWidget_ = new QWidget;
  pageWidget_->setFont(pageFont_);
  pageWidget_->setFixedSize(
      DialogRectToPixels(0, 0, dialog.width, dialog.height, baseUnits_).size());

  // Controls are made in template order, so a later one lies above an
  // earlier one: the group box is drawn behind the buttons inside it.
  QButtonGroup* radioGroup = nullptr;
  for (const DialogControl& resource : dialog.controls) {
    QWidget* widget = nullptr;
    const int32_t id = resource.id;
    switch (resource.kind) {
      case ControlKind::kGroupBox:
        widget = new QGroupBox(ToQString(resource.text), pageWidget_);
        break;
      case ControlKind::kRadioButton: {
        auto* button = new QRadioButton(ToQString(resource.text), pageWidget_);
        if (radioGroup == nullptr || (resource.style & kStyleGroupStart) != 0) {
          radioGroup = new QButtonGroup(pageWidget_);
          radioGroup->setExclusive((resource.style & kStyleAutoRadio) != 0);
        }
        radioGroup->addButton(button);
        connect(button, &QRadioButton::toggled, this, [this, id](bool checked) {
          if (checked && !showingState_) page_.ClickRadio(id);
        });
        widget = button;
        break;
      }
      case ControlKind::kLabel:
        widget = new QLabel(ToQString(resource.text), pageWidget_);
        break;
      case ControlKind::kEditBox: {
        auto* edit = new QLineEdit(pageWidget_);
        edit->setFrame((resource.style & kStyleBorder) != 0);
        connect(edit, &QLineEdit::textChanged, this, [this, id](const QString& text) {
          if (!showingState_) page_.SetControlText(id, text.toStdString());
        });
        widget = edit;
        break;
      }
    }
    if (resource.kind != ControlKind::kRadioButton) radioGroup = nullptr;
    widget->setGeometry(
        DialogRectToPixels(resource.x, resource.y, resource.width, resource.height, baseUnits_));
    const bool tabStop = (resource.style & kStyleTabStop) != 0;
    if (resource.kind == ControlKind::kGroupBox || resource.kind == ControlKind::kLabel) {
      widget->setFocusPolicy(Qt::NoFocus);
    } else {
      widget->setFocusPolicy(
          tabStop || resource.kind == ControlKind::kRadioButton ? Qt::StrongFocus : Qt::ClickFocus);
    }
    widget->setObjectName(QStringLiteral("control%1").arg(id));
    controls_.push_back({&resource, widget});
  }
}

void QtPropertySheet::ShowControlState() {
  showingState_ = true;
  for (const ControlWidget& control : controls_) {
    const int32_t id = control.resource->id;
    switch (control.resource->kind) {
      case ControlKind::kRadioButton: {
        auto* button = static_cast<QRadioButton*>(control.widget);
        // An exclusive group cannot clear its last checked button; let go
        // of the rule while the page's state is copied in.
        QButtonGroup* group = button->group();
        const bool exclusive = group != nullptr && group->exclusive();
        if (exclusive) group->setExclusive(false);
        button->setChecked(page_.IsChecked(id));
        if (exclusive) group->setExclusive(true);
        break;
      }
      case ControlKind::kEditBox:
        static_cast<QLineEdit*>(control.widget)
            ->setText(QString::fromStdString(page_.ControlText(id)));
        break;
      case ControlKind::kLabel:
        if (id != kNoControlId) {
          static_cast<QLabel*>(control.widget)
              ->setText(QString::fromStdString(page_.ControlText(id)));
        }
        break;
      case ControlKind::kGroupBox:
        break;
    }
  }
  showingState_ = false;
}

QWidget* QtPropertySheet::control(int32_t id) const {
  if (id == kNoControlId) return nullptr;
  for (const ControlWidget& control : controls_) {
    if (control.resource->id == id) return control.widget;
  }
  return nullptr;
}

void QtPropertySheet::PressOK() {
  // A value that does not parse: the page has shown the framework's message
  // box and stays open.
  if (page_.PressOK()) accept();
}

void QtPropertySheet::reject() {
  page_.PressCancel();
  QDialog::reject();
}

}  // namespace platform::qt
