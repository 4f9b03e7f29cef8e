// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/file_target.h"

#include "rigsync/formats/engine_fields.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(FileTarget, NoTargetHasTheNameOfAnother) {
  std::set<std::string> Names;
  for (const rigsync::Engine& Target : rigsync::Engines()) Names.insert(Target.Name);
  for (const rigsync::File_Target& Target : rigsync::File_Targets()) {
    EXPECT_TRUE(Names.insert(Target.Name).second) << Target.Name;
    EXPECT_FALSE(Target.Title.empty()) << Target.Name;
  }
}

}  // namespace
