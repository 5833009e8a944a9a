#pragma once
// The post-mortem record of an uncaught failure: "Corvid.dmp" in the working folder, naming the
// signal or exception with a backtrace; the same notice on standard error; non-zero exit.
namespace corvid {

inline constexpr const char* kCrashRecordName = "Corvid.dmp";

// Catches fatal signals and std::terminate (an exception nobody caught).
void installCrashRecord();

}  // namespace corvid
