// What the benchmarks of encoders of raw Deflate streams share.
#pragma once

#include <functional>
#include <string>

#include "bench.h"

// Room for what any of the encoders makes of incompressible data.
inline size_t DeflateBound(size_t size) { return size + size / 64 + 4096; }

// The fast level of the stateful encoder.
void DeflateFast(const Input& in, Output& out);

// Ends the program unless libdeflate makes `data` of the stream.
void CheckDeflated(const std::string& name, const Bytes& deflated, const Bytes& data);

// The encoder is called once with a copy of its output, which must decode to the file, and then for the time.
void RegisterEncoder(Sample& sample, Buffers buffers, const std::string& coder,
                     std::function<void(Input in, Output& out)> encode);
