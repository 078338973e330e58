#pragma once

#include <memory>

namespace quillant {

/// Threads that share the rows of one picture. The caller's own thread is one of them, so that a pool of one
/// thread has none of its own.
class BandPool {
 public:
  /// At least 1; 0 is one for every core.
  explicit BandPool(int threads = 0);
  ~BandPool();

  int threads() const;

  /// Calls `work(worker, band)` for every band from 0 up to `bands`, each once, in any order, and returns
  /// when all are done. `worker` is from 0 up to `threads()`, and no two calls with the same one overlap: it
  /// finds scratch memory of its own. One caller at a time. The first exception
  /// of `work` is thrown on when all are done.
  template <class Work>
  void run(int bands, const Work& work) {
    runErased(
        bands,
        [](const void* erased, int worker, int band) { (*static_cast<const Work*>(erased))(worker, band); },
        &work);
  }

 private:
  void runErased(int bands, void (*work)(const void*, int, int), const void* context);

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillant
