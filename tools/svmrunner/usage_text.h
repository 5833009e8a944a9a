#pragma once
// The usage texts, printed on standard output as LIBSVM's programs print theirs.
namespace svmrunner {

void printProgramUsage();
void printTrainUsage();
void printPredictUsage();
void printVersion();

}  // namespace svmrunner
