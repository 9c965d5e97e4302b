// What the gentl-tool cases expect of every run: the run shown in assertion messages, and a
// failure that is one sentence on one line of standard error.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tcToolRunner.h"

// For assertion messages: what the tool did.
inline std::string Show(const tsToolRun& run) {
  return "exit " + std::to_string(run.exitCode) + "\n--- stdout\n" + run.out + "--- stderr\n" +
         run.err;
}

// A failure is one sentence on one line of standard error, with exit code 1.
inline void ExpectOneSentence(const tsToolRun& run) {
  EXPECT_EQ(run.exitCode, 1) << Show(run);
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << Show(run);
  EXPECT_THAT(run.err, testing::StartsWith("gentl-tool: ")) << Show(run);
  EXPECT_THAT(run.err, testing::EndsWith(".\n")) << Show(run);
}
