#include "platform/crash_record.h"

#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

TEST(CrashRecord, UncaughtExceptionLeavesRecordAndNotice) {
  TempDir dir;
  RunResult run = runProgram(CORVID_CRASH_PROBE, dir.path(), {"throw"});
  EXPECT_NE(run.status, 0);
  EXPECT_EQ(run.err, " Unhandled Exception! \n You can check Corvid.dmp\n");
  const std::string record = readFile(dir.path() / "Corvid.dmp");
  EXPECT_NE(record.find("uncaught exception (std::terminate): probe failure"), std::string::npos) << record;
  EXPECT_NE(record.find("Backtrace:"), std::string::npos);
}

TEST(CrashRecord, FatalSignalLeavesRecordAndNotice) {
  TempDir dir;
  RunResult run = runProgram(CORVID_CRASH_PROBE, dir.path(), {"segv"});
  EXPECT_NE(run.status, 0);
  EXPECT_EQ(run.err, " Unhandled Exception! \n You can check Corvid.dmp\n");
  EXPECT_NE(readFile(dir.path() / "Corvid.dmp").find("SIGSEGV"), std::string::npos);
}

TEST(CrashRecord, NormalEndLeavesNoRecord) {
  TempDir dir;
  RunResult run = runProgram(CORVID_CRASH_PROBE, dir.path(), {});
  EXPECT_EQ(run.status, 0);
  EXPECT_FALSE(fs::exists(dir.path() / "Corvid.dmp"));
}

}  // namespace
}  // namespace corvid
