// SPDX-License-Identifier: MIT
#include "vecml/dataset/detail/BlockPipe.h"

#include <omp.h>

#include <utility>

#include "vecml/core/detail/Parallel.h"

namespace vecml::detail {

ValueBlock BlockPipe::spareBlock() {
  const std::lock_guard<std::mutex> guard(lock);
  if (spares.empty()) return ValueBlock{};
  ValueBlock block = std::move(spares.back());
  spares.pop_back();
  return block;
}

bool BlockPipe::send(ValueBlock&& block) {
  std::unique_lock<std::mutex> guard(lock);
  changed.wait(guard, [&] { return !receiving || waiting.size() < depth; });
  if (!receiving) return false;
  waiting.push_back(std::move(block));
  changed.notify_all();
  return true;
}

void BlockPipe::close() {
  const std::lock_guard<std::mutex> guard(lock);
  closed = true;
  changed.notify_all();
}

void BlockPipe::stopReceiving() {
  const std::lock_guard<std::mutex> guard(lock);
  receiving = false;
  changed.notify_all();
}

bool BlockPipe::receive(ValueBlock& block) {
  std::unique_lock<std::mutex> guard(lock);
  changed.wait(guard, [&] { return closed || !waiting.empty(); });
  if (waiting.empty()) return false;
  block = std::move(waiting.front());
  waiting.pop_front();
  changed.notify_all();
  return true;
}

void BlockPipe::recycle(ValueBlock&& block) {
  const std::lock_guard<std::mutex> guard(lock);
  spares.push_back(std::move(block));
}

void sendAndReceive(BlockPipe& pipe, const std::function<void()>& send,
                    const std::function<void()>& receive,
                    const std::function<void()>& alone) {
  runOnThreads(2, [&](int thread) {
    // One thread would run the two roles one after the other, and a
    // sender waiting for room would wait for ever.
    if (omp_get_num_threads() < 2) {
      if (thread == 0) alone();
      return;
    }
    if (thread == 0) {
      try {
        receive();
      } catch (...) {
        pipe.stopReceiving();
        throw;
      }
      return;
    }
    try {
      send();
    } catch (...) {
      pipe.close();
      throw;
    }
    pipe.close();
  });
}

}  // namespace vecml::detail
