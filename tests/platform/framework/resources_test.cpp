#include "platform/framework/resources.h"

#include <gtest/gtest.h>

#include <array>

namespace platform {
namespace {

class Widget final : public CObject {};
CObject* NewWidget() { return new Widget; }

constexpr std::array<DialogTemplate, 1> kDialogsA = {{{100, "A", "Font", 8, 10, 10, {}}}};
constexpr std::array<DialogTemplate, 1> kDialogsB = {{{100, "B", "Font", 8, 10, 10, {}}}};
constexpr std::array<StringResource, 1> kStringsA = {{{5, "from A"}}};
constexpr std::array<StringResource, 1> kStringsB = {{{5, "from B"}}};
const std::array<RuntimeClass, 1> kClasses = {{{"Widget", &NewWidget}}};

const ModuleResources kA = {kDialogsA, kStringsA, kClasses};
const ModuleResources kB = {kDialogsB, kStringsB, {}};

// Distinct handles for the two fake modules.
const char kHandleA = 0;
const char kHandleB = 0;

// A module's look-ups ending with its unloading are run through the plug-in
// (tests/interpreters/xsereader/module_test.cpp); here the order of two.
TEST(ResourceChainTest, TheNewestModuleIsFoundFirstWhileRegistered) {
  ExtensionModule a;
  ExtensionModule b;
  ASSERT_TRUE(InitExtensionModule(a, &kHandleA, kA));
  AddToResourceChain(a);
  ASSERT_TRUE(InitExtensionModule(b, &kHandleB, kB));
  AddToResourceChain(b);
  ASSERT_NE(FindDialogTemplate(100), nullptr);
  EXPECT_EQ(FindDialogTemplate(100)->caption, "B");
  EXPECT_EQ(LoadResourceString(5), "from B");
  EXPECT_NE(dynamic_cast<Widget*>(CreateObjectByName("Widget").get()), nullptr);  // A's
  EXPECT_EQ(FindDialogTemplate(101), nullptr);
  EXPECT_EQ(LoadResourceString(6), std::nullopt);
  EXPECT_EQ(CreateObjectByName("Gadget"), nullptr);
  TermExtensionModule(b);
  EXPECT_EQ(FindDialogTemplate(100)->caption, "A");
  EXPECT_EQ(LoadResourceString(5), "from A");
  TermExtensionModule(a);
  EXPECT_EQ(FindDialogTemplate(100), nullptr);
}

TEST(ResourceChainTest, AModuleRegistersOnce) {
  ExtensionModule first;
  ExtensionModule second;
  EXPECT_FALSE(InitExtensionModule(first, nullptr, kA));
  ASSERT_TRUE(InitExtensionModule(first, &kHandleA, kA));
  EXPECT_FALSE(InitExtensionModule(first, &kHandleB, kB));  // record in use
  AddToResourceChain(first);
  EXPECT_FALSE(InitExtensionModule(second, &kHandleA, kA));  // handle in the chain
  EXPECT_EQ(second.handle, nullptr);
  TermExtensionModule(first);
  EXPECT_TRUE(InitExtensionModule(second, &kHandleA, kA));
  TermExtensionModule(second);  // never added: clears the record all the same
  EXPECT_EQ(second.handle, nullptr);
}

}  // namespace
}  // namespace platform
