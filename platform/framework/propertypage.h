// A property page of the window framework, without a window system: the
// page keeps the state of its controls (which radio button is checked, what
// an edit box holds), which a host shows and a user, or a test, changes.
// Values move between a page's members and its controls by data exchange:
// into the controls when the page is shown, back with validation when the
// user presses OK.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/framework/resources.h"

namespace platform {

class DataExchange;

class XSE_SHARED_API CPropertyPage : public CObject {
 public:
  // A page built from dialog template `templateId`; its caption is the
  // template's (empty when the chain has no such template).
  explicit CPropertyPage(int32_t templateId);
  ~CPropertyPage() override;

  int32_t templateId() const { return templateId_; }
  const std::string& caption() const { return caption_; }

  // Shows the page: makes its controls from the template and runs
  // OnInitDialog. False, with nothing shown, when the template is missing.
  bool Create();
  bool IsOpen() const { return open_; }

  // The user's side. Ids that name no control of the page are ignored.
  bool IsChecked(int32_t id) const;
  // Checks a radio button and clears the others of its group.
  void ClickRadio(int32_t id);
  std::string ControlText(int32_t id) const;
  void SetControlText(int32_t id, std::string text);

  // OK: reads the controls back. When every value parses, runs OnOK, closes
  // the page and returns true; otherwise shows the framework's message in a
  // message box, keeps the page open and returns false.
  bool PressOK();
  // Cancel: runs OnCancel and closes the page; the members keep their values.
  void PressCancel();

  // The message of the last failed validation; empty after a good one.
  const std::string& validationMessage() const { return validationMessage_; }

  // Moves the members into the controls (false) or the controls back into
  // the members (true). False when a value did not parse.
  bool UpdateData(bool saveAndValidate);

 protected:
  // Calls the exchange functions for the page's members; the base has none.
  virtual void DoDataExchange(DataExchange& exchange);
  // The base moves the members into the controls and returns true.
  virtual bool OnInitDialog();
  virtual void OnOK();
  virtual void OnCancel();

 private:
  friend class DataExchange;
  struct Control {
    const DialogControl* resource;
    bool checked = false;
    std::string text;
  };
  Control* FindControl(int32_t id);
  const Control* FindControl(int32_t id) const;
  // The radio buttons of the group that starts at `firstId`, in order.
  std::vector<Control*> RadioGroup(int32_t firstId);

  int32_t templateId_;
  std::string caption_;
  bool open_ = false;
  std::vector<Control> controls_;
  std::string validationMessage_;
};

// One run of data exchange over a page. The first value that does not
// parse fails the run; the exchanges after it do nothing.
class XSE_SHARED_API DataExchange {
 public:
  DataExchange(CPropertyPage& page, bool saveAndValidate)
      : page_(page), saveAndValidate_(saveAndValidate) {}

  bool saveAndValidate() const { return saveAndValidate_; }
  bool failed() const { return !message_.empty(); }
  const std::string& message() const { return message_; }

  // `value` is the index of the checked button of the radio group that
  // starts at `firstId`; -1 when none is checked. A value outside the group
  // checks none.
  void Radio(int32_t firstId, int32_t& value);
  // An edit box holding a number; "Please enter a number." when its text is
  // no number that a float holds.
  void Text(int32_t id, float& value);
  // An edit box holding an integer; "Please enter an integer." when its text
  // is no number that an int32 holds.
  void Text(int32_t id, int32_t& value);

 private:
  CPropertyPage& page_;
  bool saveAndValidate_;
  std::string message_;
};

}  // namespace platform
