// LZSS streams with every split of source and room.

#include "zeldc/lzss.h"

#include "families.h"

namespace zeldc_digest {

namespace {

void Stream(Run& run, const Memory<uint8_t>& source, zelLZSSState* state, uint32_t split) {
  Split pieces(split), rooms(split / Split::kWays);
  size_t done = 0;
  do {
    const size_t piece = pieces.Next(source.size() - done);
    uint8_t* next = source.data() + done;
    int32_t left = static_cast<int32_t>(piece);
    zelStatus status = zelOk;
    do {
      const Memory<uint8_t> room(run.conditions, rooms.Next(static_cast<size_t>(left) * 9 / 8 + 8));
      uint8_t* output = room.data();
      int32_t room_left = static_cast<int32_t>(room.size());
      status = run.Status(zelsEncodeLZSS_8u(&next, &left, &output, &room_left, state));
      run.digest.Int(left);
      run.digest.Bytes(room.data(), room.size() - static_cast<size_t>(room_left));
    } while (status == zelWarnDstFull);
    done += piece;
  } while (done < source.size());
  zelStatus status = zelOk;
  do {
    const Memory<uint8_t> room(run.conditions, 1 + split % 5);
    uint8_t* output = room.data();
    int32_t room_left = static_cast<int32_t>(room.size());
    status = run.Status(zelsEncodeLZSSFlush_8u(&output, &room_left, state));
    run.digest.Bytes(room.data(), room.size() - static_cast<size_t>(room_left));
  } while (status == zelWarnDstFull);
}

}  // namespace

void DigestLzss(Run& run) {
  int32_t size = 0;
  run.Status(zelsLZSSGetSize_8u(&size));
  run.digest.Int(size);
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    const Memory<uint8_t> source(run.conditions, *data);
    const Record<zelLZSSState> record(run.conditions, size);
    run.Status(zelsEncodeLZSSInit_8u(record.get()));
    Stream(run, source, record.get(), 0);
    run.Status(zelsEncodeLZSSInit_8u(record.get()));
    Stream(run, source, record.get(), ++number);
    zelLZSSState* allocated = nullptr;
    run.Status(zelsEncodeLZSSInitAlloc_8u(&allocated));
    Stream(run, source, allocated, number * 5);
    run.Status(zelsLZSSFree_8u(allocated));
  }
}

}  // namespace zeldc_digest
