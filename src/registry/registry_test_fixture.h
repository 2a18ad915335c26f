// Test fixture of the registry tests: a private store in a temporary folder
// (QOR_REGISTRY_DIR), a scripted UI that records the reports, and helpers to
// read them back.

#ifndef QOR_REGISTRY_REGISTRY_TEST_FIXTURE_H_
#define QOR_REGISTRY_REGISTRY_TEST_FIXTURE_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "qorsupport/registry/winapireg.h"
#include "testing/test_util.h"

namespace qor::registry {

class RegistryFixture : public ::testing::Test {
 protected:
  RegistryFixture() {
    setenv("QOR_REGISTRY_DIR", dir_.path().c_str(), 1);
    reg_ = std::make_unique<qorWinAPIReg>();
  }
  ~RegistryFixture() override { unsetenv("QOR_REGISTRY_DIR"); }

  // The texts of the message boxes shown since the last call.
  std::vector<std::string> Reports() {
    std::vector<std::string> texts;
    for (const ui::UiEvent& e : ui_->TakeEvents()) texts.push_back(e.Field("text").AsString());
    return texts;
  }

  qor::testing::TempDir dir_;
  qor::testing::ScriptedUi ui_;
  std::unique_ptr<qorWinAPIReg> reg_;
};

}  // namespace qor::registry

#endif  // QOR_REGISTRY_REGISTRY_TEST_FIXTURE_H_
