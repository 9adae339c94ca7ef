// What must not be left behind when a signal ends the program.
#pragma once

// Something unfinished: while an object of this class is enlisted, a signal that ends the program abandons it
// first. Objects are enlisted and finished by any thread.
class Unfinished {
public:
  Unfinished() = default;
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;

protected:
  // Enlisted objects must be gone from the list by now; see finish().
  ~Unfinished() = default;

  // Holds off the end by a signal as long as it lives, so that a step and its entry in the list are one.
  class Holding {
  public:
    Holding();
    ~Holding();
    Holding(const Holding&) = delete;
    Holding& operator=(const Holding&) = delete;
  };

  // Enters the list or leaves it; leaving it twice does no harm. Call them inside a Holding.
  void enlist();
  void finish();

private:
  friend class Interruption;

  // Undoes the unfinished thing; called once, on the thread that ends the program.
  virtual void abandon() noexcept = 0;

  Unfinished* next = nullptr;
  bool enlisted = false;
};

// From now on SIGINT, SIGTERM, SIGHUP and SIGQUIT abandon all that is unfinished before they end the program,
// and a reader that goes away is an error of the write, not a signal. Signals that were ignored when the
// program was started (as by nohup) stay ignored. Call it once, before other threads exist; it starts a
// thread. A child process must not inherit the signals' state: see Subprocess.
void guardAgainstInterruption();
