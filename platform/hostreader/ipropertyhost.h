// What the host's option dialog asks of a properties object. Slot order is
// fixed; slots 1, 2 and 4 are the dialog's notifications about edits.
#pragma once

#include <cstdint>

#include "platform/sharedapi.h"

class ZPropList;

class XSE_SHARED_API IPropertyHost {
 public:
  // clang-format off
  // Adds the object's properties to `list`.
  virtual void GetProperties(ZPropList& list) = 0;                          // slot 0
  // A property is about to take `value`; false refuses the edit.
  virtual bool PropertyHostSlot1(int32_t propertyId, int32_t value) = 0;   // slot 1
  // A property has changed.
  virtual void PropertyHostSlot2(int32_t propertyId) = 0;                  // slot 2
  // Whether the dialog lets the user edit `property`.
  virtual bool IsPropertyEnabled(const void* property) = 0;                // slot 3
  // The dialog is about to apply its edits; false keeps it open.
  virtual bool PropertyHostSlot4(int32_t propertyId) = 0;                  // slot 4
  // clang-format on

 protected:
  IPropertyHost() = default;
  IPropertyHost(const IPropertyHost&) = default;
  IPropertyHost& operator=(const IPropertyHost&) = default;
  ~IPropertyHost() = default;
};
