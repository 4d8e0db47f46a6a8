// SPDX-License-Identifier: MIT
// Blocks of file values handed from a thread that reads them to a thread
// that builds items from them, so that reading (and inflating) a file
// overlaps with the work done on its contents.
#ifndef VECML_DATASET_DETAIL_BLOCKPIPE_H
#define VECML_DATASET_DETAIL_BLOCKPIPE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace vecml::detail {

/// Values read from a file and the number of whole records among them.
struct ValueBlock {
  std::vector<float> values;
  std::size_t records = 0;
};

/// Carries ValueBlocks from one sending thread to one receiving thread. At
/// most `depth` blocks wait at a time, so the sender runs at most that far
/// ahead and memory stays bounded; emptied blocks go back to the sender.
class BlockPipe {
 public:
  explicit BlockPipe(std::size_t depth) : depth(depth) {}

  /// \return a block to fill: one the receiver has emptied, else a new one.
  ValueBlock spareBlock();
  /// Queues \p block, waiting while `depth` blocks wait.
  /// \return false when the receiver has stopped (the block is dropped).
  bool send(ValueBlock&& block);
  /// Tells the receiver that no more blocks come.
  void close();
  /// Stops the sender: send() returns false from now on.
  void stopReceiving();
  /// Takes the next block into \p block, waiting for one.
  /// \return false once the pipe is closed and every block received.
  bool receive(ValueBlock& block);
  /// Hands an emptied block back for spareBlock().
  void recycle(ValueBlock&& block);

 private:
  std::mutex lock;
  std::condition_variable changed;
  std::deque<ValueBlock> waiting;
  std::vector<ValueBlock> spares;
  std::size_t depth;
  bool closed = false;
  bool receiving = true;
};

/// Runs send() on a second thread and receive() on the calling thread at
/// the same time, connected by \p pipe, which is closed when send() ends.
/// When send() throws, receive() still gets the blocks sent before; when
/// receive() throws, send() stops at its next block. The first exception
/// is rethrown here once both have ended. When the runtime gives only one
/// thread, alone() runs instead.
void sendAndReceive(BlockPipe& pipe, const std::function<void()>& send,
                    const std::function<void()>& receive,
                    const std::function<void()>& alone);

}  // namespace vecml::detail

#endif
