#include "platform/framework/propertypage.h"

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/messagebox.h"

namespace platform {
namespace {

// The number in `text` when the whole text is one (surrounding blanks
// allowed).
bool ParseWhole(const std::string& text, double& out) {
  const char* begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  out = std::strtod(begin, &end);
  if (end == begin || errno == ERANGE) return false;
  while (*end == ' ' || *end == '\t') ++end;
  return *end == '\0';
}

bool ParseWhole(const std::string& text, long long& out) {
  const char* begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  out = std::strtoll(begin, &end, 10);
  if (end == begin || errno == ERANGE) return false;
  while (*end == ' ' || *end == '\t') ++end;
  return *end == '\0';
}

}  // namespace

CPropertyPage::CPropertyPage(int32_t templateId) : templateId_(templateId) {
  if (const DialogTemplate* dialog = FindDialogTemplate(templateId)) {
    caption_ = std::string(dialog->caption);
  }
}

CPropertyPage::~CPropertyPage() = default;

bool CPropertyPage::Create() {
  const DialogTemplate* dialog = FindDialogTemplate(templateId_);
  if (dialog == nullptr) return false;
  controls_.clear();
  for (const DialogControl& control : dialog->controls) {
    // Labels show their text; boxes and buttons start empty and unchecked.
    controls_.push_back(
        {&control, false, control.kind == ControlKind::kLabel ? std::string(control.text) : ""});
  }
  open_ = true;
  validationMessage_.clear();
  OnInitDialog();
  return true;
}

bool CPropertyPage::IsChecked(int32_t id) const {
  const Control* control = FindControl(id);
  return control != nullptr && control->checked;
}

void CPropertyPage::ClickRadio(int32_t id) {
  Control* clicked = FindControl(id);
  if (clicked == nullptr || clicked->resource->kind != ControlKind::kRadioButton) return;
  // Walk back to the start of the clicked button's group.
  size_t first = static_cast<size_t>(clicked - controls_.data());
  while (first > 0 && (controls_[first].resource->style & kStyleGroupStart) == 0 &&
         controls_[first - 1].resource->kind == ControlKind::kRadioButton) {
    --first;
  }
  for (Control* button : RadioGroup(controls_[first].resource->id)) button->checked = false;
  clicked->checked = true;
}

std::string CPropertyPage::ControlText(int32_t id) const {
  const Control* control = FindControl(id);
  return control != nullptr ? control->text : std::string();
}

void CPropertyPage::SetControlText(int32_t id, std::string text) {
  if (Control* control = FindControl(id)) control->text = std::move(text);
}

bool CPropertyPage::PressOK() {
  if (!open_) return false;
  if (!UpdateData(true)) {
    ShowMessageBox(caption_, validationMessage_);
    return false;
  }
  OnOK();
  open_ = false;
  return true;
}

void CPropertyPage::PressCancel() {
  if (!open_) return;
  OnCancel();
  open_ = false;
}

bool CPropertyPage::UpdateData(bool saveAndValidate) {
  DataExchange exchange(*this, saveAndValidate);
  DoDataExchange(exchange);
  validationMessage_ = exchange.message();
  return !exchange.failed();
}

void CPropertyPage::DoDataExchange(DataExchange& /*exchange*/) {}

bool CPropertyPage::OnInitDialog() {
  UpdateData(false);
  return true;
}

void CPropertyPage::OnOK() {}

void CPropertyPage::OnCancel() {}

CPropertyPage::Control* CPropertyPage::FindControl(int32_t id) {
  if (id == kNoControlId) return nullptr;
  for (Control& control : controls_) {
    if (control.resource->id == id) return &control;
  }
  return nullptr;
}

const CPropertyPage::Control* CPropertyPage::FindControl(int32_t id) const {
  return const_cast<CPropertyPage*>(this)->FindControl(id);
}

std::vector<CPropertyPage::Control*> CPropertyPage::RadioGroup(int32_t firstId) {
  std::vector<Control*> group;
  Control* first = FindControl(firstId);
  if (first == nullptr) return group;
  for (Control* control = first; control != controls_.data() + controls_.size(); ++control) {
    const bool startsAnother =
        control != first && (control->resource->style & kStyleGroupStart) != 0;
    if (control->resource->kind != ControlKind::kRadioButton || startsAnother) break;
    group.push_back(control);
  }
  return group;
}

void DataExchange::Radio(int32_t firstId, int32_t& value) {
  if (failed()) return;
  const std::vector<CPropertyPage::Control*> group = page_.RadioGroup(firstId);
  if (saveAndValidate_) {
    value = -1;
    for (size_t i = 0; i < group.size(); ++i) {
      if (group[i]->checked) value = static_cast<int32_t>(i);
    }
    return;
  }
  for (size_t i = 0; i < group.size(); ++i) {
    group[i]->checked = value >= 0 && static_cast<size_t>(value) == i;
  }
}

void DataExchange::Text(int32_t id, float& value) {
  if (failed()) return;
  CPropertyPage::Control* control = page_.FindControl(id);
  if (control == nullptr) return;
  if (!saveAndValidate_) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*g", FLT_DIG, static_cast<double>(value));
    control->text = text;
    return;
  }
  double parsed = 0;
  if (!ParseWhole(control->text, parsed) || !std::isfinite(parsed) ||
      std::fabs(parsed) > static_cast<double>(std::numeric_limits<float>::max())) {
    message_ = "Please enter a number.";
    return;
  }
  value = static_cast<float>(parsed);
}

void DataExchange::Text(int32_t id, int32_t& value) {
  if (failed()) return;
  CPropertyPage::Control* control = page_.FindControl(id);
  if (control == nullptr) return;
  if (!saveAndValidate_) {
    control->text = std::to_string(value);
    return;
  }
  long long parsed = 0;
  if (!ParseWhole(control->text, parsed) || parsed < std::numeric_limits<int32_t>::min() ||
      parsed > std::numeric_limits<int32_t>::max()) {
    message_ = "Please enter an integer.";
    return;
  }
  value = static_cast<int32_t>(parsed);
}

}  // namespace platform
