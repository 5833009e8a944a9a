#include "startup/entry.h"

int main(int argc, char** argv) { return corvid::runEntry(argc, argv); }
