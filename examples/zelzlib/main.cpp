// zelzlib: compresses and decompresses files in the zlib format (RFC 1950) with the one-call functions of the zeldc
// library: the worked example of what these leave to their caller.

#include "common/new_file.h"
#include "zelzlib/jobs.h"
#include "zelzlib/options.h"

int main(int argc, char** argv) {
  const zelzlib::Options options = zelzlib::ParseOptions(argc, argv);
  example::RemoveNewFileOnSignals();
  return zelzlib::Jobs(options).Run();
}
