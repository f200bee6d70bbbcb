// zelbzip2: compresses and decompresses files in the bzip2 format with the zeldc library.

#include "common/new_file.h"
#include "zelbzip2/jobs.h"
#include "zelbzip2/options.h"

int main(int argc, char** argv) {
  const zelbzip2::Options options = zelbzip2::ParseOptions(argc, argv);
  example::RemoveNewFileOnSignals();
  return zelbzip2::Jobs(options).Run();
}
