// zellzop: compresses and decompresses files in the .lzo format with the zeldc library.

#include "common/new_file.h"
#include "zellzop/jobs.h"
#include "zellzop/options.h"

int main(int argc, char** argv) {
  const zellzop::Options options = zellzop::ParseOptions(argc, argv);
  example::RemoveNewFileOnSignals();
  return zellzop::Jobs(options).Run();
}
