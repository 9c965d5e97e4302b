// Counts a grab's frames and bytes, keeps a live one-line status on a terminal and words the
// closing summary.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

class tcGrabProgress {
 public:
  // `live`: redraw a status line with '\r' (only when standard output is a terminal).
  explicit tcGrabProgress(bool live);

  void Frame(size_t bytes, bool incomplete);
  // True when the live line is due for a redraw (every 250 ms on a terminal).
  bool Due() const;
  void Show(uint64_t lost);
  // Prints a line of its own, redrawing the live line below it.
  void Note(const std::string& line);
  // Ends the live line.
  void Finish();

  uint64_t Frames() const { return frames_; }
  double Seconds() const;
  // "30 frames in 1.00 s: 29.97 fps, 62.2 MB/s, 0 incomplete, 0 lost"
  std::string Summary(uint64_t lost) const;

 private:
  using tClock = std::chrono::steady_clock;

  bool live_;
  tClock::time_point start_ = tClock::now();
  tClock::time_point shown_ = start_;
  uint64_t frames_ = 0;
  uint64_t bytes_ = 0;
  uint64_t incomplete_ = 0;
  uint64_t lost_ = 0;
  bool lineShown_ = false;
};
