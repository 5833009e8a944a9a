#include "usage_text.h"

#include <cstdio>

#include <libsvm/svm.h>

namespace svmrunner {

void printProgramUsage() {
  std::fputs(
      "Usage: svmrunner svm-train [options] training_set_file [model_file]\n"
      "       svmrunner svm-predict [options] test_file model_file output_file\n"
      "       svmrunner --help | --version\n"
      "LIBSVM's svm-train and svm-predict programs, run by corvid to score candidates (-v 1).\n"
      "Run \"svmrunner svm-train --help\" or \"svmrunner svm-predict --help\" for their options.\n",
      stdout);
}

// LIBSVM's option list, word for word: the options mean exactly what they mean there.
void printTrainUsage() {
  std::fputs(
      "Usage: svmrunner svm-train [options] training_set_file [model_file]\n"
      "options:\n"
      "-s svm_type : set type of SVM (default 0)\n"
      "\t0 -- C-SVC\t\t(multi-class classification)\n"
      "\t1 -- nu-SVC\t\t(multi-class classification)\n"
      "\t2 -- one-class SVM\n"
      "\t3 -- epsilon-SVR\t(regression)\n"
      "\t4 -- nu-SVR\t\t(regression)\n"
      "-t kernel_type : set type of kernel function (default 2)\n"
      "\t0 -- linear: u'*v\n"
      "\t1 -- polynomial: (gamma*u'*v + coef0)^degree\n"
      "\t2 -- radial basis function: exp(-gamma*|u-v|^2)\n"
      "\t3 -- sigmoid: tanh(gamma*u'*v + coef0)\n"
      "\t4 -- precomputed kernel (kernel values in training_set_file)\n"
      "-d degree : set degree in kernel function (default 3)\n"
      "-g gamma : set gamma in kernel function (default 1/num_features)\n"
      "-r coef0 : set coef0 in kernel function (default 0)\n"
      "-c cost : set the parameter C of C-SVC, epsilon-SVR, and nu-SVR (default 1)\n"
      "-n nu : set the parameter nu of nu-SVC, one-class SVM, and nu-SVR (default 0.5)\n"
      "-p epsilon : set the epsilon in loss function of epsilon-SVR (default 0.1)\n"
      "-m cachesize : set cache memory size in MB (default 100)\n"
      "-e epsilon : set tolerance of termination criterion (default 0.001)\n"
      "-h shrinking : whether to use the shrinking heuristics, 0 or 1 (default 1)\n"
      "-b probability_estimates : whether to train a SVC or SVR model for probability estimates, 0 or 1 "
      "(default 0)\n"
      "-wi weight : set the parameter C of class i to weight*C, for C-SVC (default 1)\n"
      "-v n: n-fold cross validation mode\n"
      "-q : quiet mode (no outputs)\n"
      "model_file defaults to training_set_file.model, beside the training set file.\n",
      stdout);
}

void printPredictUsage() {
  std::fputs(
      "Usage: svmrunner svm-predict [options] test_file model_file output_file\n"
      "options:\n"
      "-b probability_estimates: whether to predict probability estimates, 0 or 1 (default 0); "
      "for one-class SVM only 0 is supported\n"
      "-q : quiet mode (no outputs)\n",
      stdout);
}

void printVersion() {
  // The library's own version number, as loaded at run time (324 for 3.24).
  std::printf("svmrunner %s (LIBSVM %d.%02d)\n", SVMRUNNER_VERSION, libsvm_version / 100, libsvm_version % 100);
}

}  // namespace svmrunner
