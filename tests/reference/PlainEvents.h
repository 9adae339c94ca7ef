// Turns of the pedal that are easy to get wrong, counted, so that a test can tell whether it took them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

enum class PlainEvent : std::size_t {
  // frame
  PassThroughBlock,
  EmptyBlock,
  NegativeBlock,
  OneSampleBlock,
  BlockBeyondHistories, // longer than the 48000 entries of the oscillator's histories
  RewindBeyondHistories,
  Resume,
  ResumeOfSpoilt,
  // rates
  SetUp,
  SetUpAfterFirstBlock,
  SetUpAfterUnusableRate,
  UnusableRate,
  SameRateAgain,
  // first block and Tone
  FirstBlockFlip,
  ToneUpdate,
  ToneNeverComputed, // Tone is -1 right after set-up: the coefficients stay 0
  // pedal and sweep
  Rewind,
  PedalCameToRest,
  PedalFlipOverwritten,
  SwitchOver,
  SwitchOverThenRewind,
  SwitchOverFlipKept,
  SwitchOverFlipRewound,
  PitchChangedSignInBlock,
  // taps
  Tap1ResetUp,
  Tap1ResetDown,
  Tap2ResetUp,
  Tap2ResetDown,
  TapHeldAtMinimum,
  TapOutgrewDelayLine,
  // switches: a change met in each state, and a third one in the same fade
  OnOffChangeIdle,
  OnOffChangeFadingOut,
  OnOffChangeFadingIn,
  OnOffChangedTwiceInFade,
  ColorChangeIdle,
  ColorChangeFadingOut,
  ColorChangeFadingIn,
  ColorChangedTwiceInFade,
  // blocks that begin with the switches in these states, On/Off first
  IdleIdle,
  IdleOut,
  IdleIn,
  OutIdle,
  OutOut,
  OutIn,
  InIdle,
  InOut,
  InIn,
  // colour rows chosen
  Row0,
  Row1,
  Row2,
  Row3,
  Row4,
  Row5,
  Row6,
  Row7,
  // output
  OnSample,
  OffSample,
  DenormalInputFlushed, // on the direct path
  NotANumber,
  PlainNumber, // finite and not zero
  // programs
  ParameterWithoutProgram, // set while the current program's number is negative
  ProgramLoaded,
  Count
};

const char* plainEventName(PlainEvent event);

class PlainEvents {
public:
  void count(PlainEvent event) { ++counts[static_cast<std::size_t>(event)]; }
  // The event that stands `offset` places behind `first` in the list.
  void count(PlainEvent first, int offset) { ++counts[static_cast<std::size_t>(first) + offset]; }
  std::int64_t operator[](PlainEvent event) const { return counts[static_cast<std::size_t>(event)]; }
  void add(const PlainEvents& other);

private:
  std::array<std::int64_t, static_cast<std::size_t>(PlainEvent::Count)> counts{};
};
