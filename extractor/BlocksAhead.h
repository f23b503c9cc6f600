// extractor/BlocksAhead.h: blocks of bytes that threads make in advance.
// Does:     keeps them in order; makes only a few in advance; an error comes out in the place of
//           its block. Without threads it makes each block when asked.
// Owns:     the maker, the threads and the finished blocks; may be destroyed at any moment.
// Throws:   Next what the maker threw.
// Not here: what the blocks are made of (GzipStream.h, BgzfBlocks.h).
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ByteBuffer.h"

namespace tarvek::extractor {

struct Block {
  std::string m_packed;  // for the maker only
  std::int64_t m_offset = 0;
  ByteBuffer m_bytes;
  std::int64_t m_stored_bytes_read = 0;  // of the file, up to this block
  /// Where the file continues after m_bytes with data that the maker cannot handle. Then no later
  /// block counts.
  std::optional<std::int64_t> m_goes_on_at;
};

class BlockMaker {
 public:
  virtual ~BlockMaker() = default;
  /// Begins the next block; false at the end. Called by one thread at a time.
  virtual bool Take(Block& block) = 0;
  /// Does the work that needs no order. Called by several threads at a time.
  virtual void Finish(Block& block) const = 0;
};

class BlocksAhead {
 public:
  /// thread_count: 0 for none. Starts fewer when the system refuses more.
  BlocksAhead(std::unique_ptr<BlockMaker> maker, std::size_t thread_count);
  ~BlocksAhead();
  BlocksAhead(const BlocksAhead&) = delete;
  BlocksAhead& operator=(const BlocksAhead&) = delete;

  /// Replaces block by the next one; false at the end. After an error, only destroy this object.
  bool Next(Block& block);

 private:
  struct Slot {
    Block m_block;
    std::exception_ptr m_error;
    bool m_is_end = false;
    bool m_is_ready = false;
  };

  void Work();
  [[nodiscard]] bool TakeInto(Slot& slot) const;
  void FinishIn(Slot& slot) const;

  std::unique_ptr<BlockMaker> m_maker;
  std::mutex m_mutex;  // guards all members below
  std::condition_variable m_changed;
  std::vector<Slot> m_slots;  // a block's place is its number modulo the size
  std::uint64_t m_taken = 0;  // number of blocks begun
  std::uint64_t m_given = 0;  // number of blocks that the caller got
  bool m_is_taking = false;
  bool m_is_all_taken = false;
  bool m_must_stop = false;
  std::vector<std::thread> m_threads;
};

}  // namespace tarvek::extractor
