#include "BlocksAhead.h"

#include <system_error>
#include <utility>

namespace tarvek::extractor {
namespace {

// Finished blocks for the caller while every thread works on another.
constexpr std::size_t kWaiting = 3;

}  // namespace

BlocksAhead::BlocksAhead(std::unique_ptr<BlockMaker> maker, std::size_t thread_count)
    : m_maker(std::move(maker)), m_slots(thread_count + kWaiting) {
  m_threads.reserve(thread_count);
  try {
    for (std::size_t i = 0; i < thread_count; ++i) m_threads.emplace_back([this] { Work(); });
  } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): the running ones suffice
  }
}

BlocksAhead::~BlocksAhead() {
  {
    const std::lock_guard lock(m_mutex);
    m_must_stop = true;
  }
  m_changed.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

// False when no block follows.
bool BlocksAhead::TakeInto(Slot& slot) const {
  try {
    slot.m_is_end = !m_maker->Take(slot.m_block);
  } catch (...) {
    slot.m_error = std::current_exception();
  }
  return !slot.m_is_end && !slot.m_error;
}

void BlocksAhead::FinishIn(Slot& slot) const {
  try {
    m_maker->Finish(slot.m_block);
  } catch (...) {
    slot.m_error = std::current_exception();
  }
}

// From taking its block until it is ready, a slot belongs to the thread that took the block; after
// that, to the caller.
void BlocksAhead::Work() {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_changed.wait(lock, [this] {
      const bool has_room = m_taken < m_given + m_slots.size();
      return m_must_stop || m_is_all_taken || (has_room && !m_is_taking);
    });
    if (m_must_stop || m_is_all_taken) return;
    Slot& slot = m_slots[m_taken++ % m_slots.size()];
    m_is_taking = true;
    lock.unlock();
    const bool is_block = TakeInto(slot);
    lock.lock();
    m_is_taking = false;
    m_is_all_taken = !is_block;
    m_changed.notify_all();
    if (is_block) {
      lock.unlock();
      FinishIn(slot);
      lock.lock();
    }
    slot.m_is_ready = true;
    m_changed.notify_all();
  }
}

bool BlocksAhead::Next(Block& block) {
  if (m_threads.empty()) {
    if (!m_maker->Take(block)) return false;
    m_maker->Finish(block);
    return true;
  }
  std::unique_lock lock(m_mutex);
  Slot& slot = m_slots[m_given % m_slots.size()];
  m_changed.wait(lock, [&] { return slot.m_is_ready; });
  if (slot.m_error) std::rethrow_exception(slot.m_error);
  if (slot.m_is_end) return false;
  std::swap(block, slot.m_block);
  slot.m_is_ready = false;
  ++m_given;
  lock.unlock();
  m_changed.notify_all();
  return true;
}

}  // namespace tarvek::extractor
