// Frame statistics and their live and closing display.
#include "tcGrabProgress.h"

#include <cstdio>

tcGrabProgress::tcGrabProgress(bool live) : live_(live) {}

void tcGrabProgress::Frame(size_t bytes, bool incomplete) {
  ++frames_;
  bytes_ += bytes;
  if (incomplete) ++incomplete_;
}

bool tcGrabProgress::Due() const {
  return live_ && tClock::now() - shown_ >= std::chrono::milliseconds(250);
}

double tcGrabProgress::Seconds() const {
  return std::chrono::duration<double>(tClock::now() - start_).count();
}

std::string tcGrabProgress::Summary(uint64_t lost) const {
  const double seconds = Seconds();
  const double rate = seconds > 0 ? 1.0 / seconds : 0.0;
  char text[256];
  snprintf(text, sizeof text, "%llu %s in %.2f s: %.2f fps, %.1f MB/s, %llu incomplete, %llu lost",
           static_cast<unsigned long long>(frames_), frames_ == 1 ? "frame" : "frames", seconds,
           frames_ * rate, bytes_ * rate / 1e6, static_cast<unsigned long long>(incomplete_),
           static_cast<unsigned long long>(lost));
  return text;
}

void tcGrabProgress::Show(uint64_t lost) {
  if (!live_) return;
  lost_ = lost;
  shown_ = tClock::now();
  // Pads with spaces so a shorter line hides the end of a longer one.
  printf("\r%-78s", Summary(lost_).c_str());
  fflush(stdout);
  lineShown_ = true;
}

void tcGrabProgress::Note(const std::string& line) {
  if (lineShown_) {
    printf("\r%-80s\r", "");
    lineShown_ = false;
  }
  printf("%s\n", line.c_str());
  fflush(stdout);
}

void tcGrabProgress::Finish() {
  if (lineShown_) printf("\r%-80s\r", "");
  lineShown_ = false;
  fflush(stdout);
}
