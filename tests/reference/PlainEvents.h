// Turns of the pedal that are easy to get wrong, counted, so that a test can tell whether it took them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// In this order: the frame (BlockBeyondHistories: longer than the 48000 entries of the oscillator's
// histories). Rates. First block and Tone (ToneNeverComputed: Tone is -1 right after set-up, the coefficients
// stay 0). Pedal and sweep. Taps. Changes of a switch met in each state, and a third one in the same fade.
// Blocks that begin with the switches in these states, On/Off first. Colours chosen. Output samples
// (DenormalInputFlushed: on the direct path; PlainNumber: finite and not zero). Programs
// (ParameterWithoutProgram: set while the current program's number is negative).
#define TREADSHIFT_PLAIN_EVENTS(EVENT)                                                                       \
  EVENT(PassThroughBlock)                                                                                    \
  EVENT(EmptyBlock)                                                                                          \
  EVENT(NegativeBlock)                                                                                       \
  EVENT(OneSampleBlock)                                                                                      \
  EVENT(BlockBeyondHistories)                                                                                \
  EVENT(RewindBeyondHistories)                                                                               \
  EVENT(Resume)                                                                                              \
  EVENT(ResumeOfSpoilt)                                                                                      \
  EVENT(SetUp)                                                                                               \
  EVENT(SetUpAfterFirstBlock)                                                                                \
  EVENT(SetUpAfterUnusableRate)                                                                              \
  EVENT(UnusableRate)                                                                                        \
  EVENT(SameRateAgain)                                                                                       \
  EVENT(FirstBlockFlip)                                                                                      \
  EVENT(ToneUpdate)                                                                                          \
  EVENT(ToneNeverComputed)                                                                                   \
  EVENT(Rewind)                                                                                              \
  EVENT(PedalCameToRest)                                                                                     \
  EVENT(PedalFlipOverwritten)                                                                                \
  EVENT(SwitchOver)                                                                                          \
  EVENT(SwitchOverThenRewind)                                                                                \
  EVENT(SwitchOverFlipKept)                                                                                  \
  EVENT(SwitchOverFlipRewound)                                                                               \
  EVENT(PitchChangedSignInBlock)                                                                             \
  EVENT(Tap1ResetUp)                                                                                         \
  EVENT(Tap1ResetDown)                                                                                       \
  EVENT(Tap2ResetUp)                                                                                         \
  EVENT(Tap2ResetDown)                                                                                       \
  EVENT(TapHeldAtMinimum)                                                                                    \
  EVENT(TapOutgrewDelayLine)                                                                                 \
  EVENT(OnOffChangeIdle)                                                                                     \
  EVENT(OnOffChangeFadingOut)                                                                                \
  EVENT(OnOffChangeFadingIn)                                                                                 \
  EVENT(OnOffChangedTwiceInFade)                                                                             \
  EVENT(ColorChangeIdle)                                                                                     \
  EVENT(ColorChangeFadingOut)                                                                                \
  EVENT(ColorChangeFadingIn)                                                                                 \
  EVENT(ColorChangedTwiceInFade)                                                                             \
  EVENT(IdleIdle)                                                                                            \
  EVENT(IdleOut)                                                                                             \
  EVENT(IdleIn)                                                                                              \
  EVENT(OutIdle)                                                                                             \
  EVENT(OutOut)                                                                                              \
  EVENT(OutIn)                                                                                               \
  EVENT(InIdle)                                                                                              \
  EVENT(InOut)                                                                                               \
  EVENT(InIn)                                                                                                \
  EVENT(Row0)                                                                                                \
  EVENT(Row1)                                                                                                \
  EVENT(Row2)                                                                                                \
  EVENT(Row3)                                                                                                \
  EVENT(Row4)                                                                                                \
  EVENT(Row5)                                                                                                \
  EVENT(Row6)                                                                                                \
  EVENT(Row7)                                                                                                \
  EVENT(OnSample)                                                                                            \
  EVENT(OffSample)                                                                                           \
  EVENT(DenormalInputFlushed)                                                                                \
  EVENT(NotANumber)                                                                                          \
  EVENT(PlainNumber)                                                                                         \
  EVENT(ParameterWithoutProgram)                                                                             \
  EVENT(ProgramLoaded)

enum class PlainEvent : std::size_t {
#define TREADSHIFT_PLAIN_EVENT(name) name,
  TREADSHIFT_PLAIN_EVENTS(TREADSHIFT_PLAIN_EVENT)
#undef TREADSHIFT_PLAIN_EVENT
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
