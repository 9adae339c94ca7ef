// The pitch pedal: five parameters, sixteen programs, and the pitch shifter that they steer.
#pragma once

#include "dsp/IIRFilter.h"
#include "dsp/lfoTriangle.h"
#include "effect/Chunk.h"
#include "effect/FilterRun.h"
#include "effect/ParamCurve.h"
#include "effect/ParamSwitch.h"
#include "effect/TapReader.h"
#include "effect/TapSweep.h"
#include "effect/TreadshiftProgram.h"
#include "framework/CriticalSection.h"
#include "framework/Q_TypeBase.h"

// Two taps of a circular delay line sweep at the speed that the pitch ratio demands and are crossfaded with
// equal power where one of them jumps back (the rotating-head method of tape pitch shifters; Puckette, The
// Theory and Technique of Electronic Music, chapter 7, on pitch shifting with delay lines). Sources by the
// thread that calls them: TreadshiftParameters.cpp [any thread], TreadshiftSetUp.cpp [host, processing
// stopped], TreadshiftControl.cpp, TreadshiftProcess.cpp and TreadshiftPasses.cpp [audio].
//
// Until a usable sample rate is set, and after one that cannot be run, blocks copy input to output.
class Treadshift : public Q_TypeBase {
public:
  // Sixteen "Init" programs, the first one live; one channel in, one out. host: may be null. Allocates;
  // throws std::bad_alloc when memory cannot be had. [host, processing stopped]
  explicit Treadshift(HostCallback host);
  // Frees all that it holds. [host, processing stopped]
  ~Treadshift() override;

  // Builds everything that depends on the rate and clears the delay line. The rate in force does nothing,
  // not even clear. rate: Hz, any float; one that cannot be run, or for which memory cannot be had, leaves
  // the effect passing audio through until the next usable one. Allocates, never throws.
  // [host, processing stopped]
  void setSampleRate(float rate) override;

  // samples: the largest block to come. Reserves the scratch of such blocks, so that they never allocate; if
  // memory cannot be had, blocks try again. [host, processing stopped]
  void setBlockSize(int samples) override;

  // Clears the delay line; filters, fades and the sweep go on from where they were. Only when a parameter or
  // a sample that was no finite number has spoilt one of them for good, everything is built anew, as by a new
  // rate; then it allocates. [host, processing stopped]
  void resume() override;

  // One block: `frames` samples of inputs[0] to outputs[0], which may be the same array. Fewer than 1 frame
  // counts as 0; null lists or channels do nothing. Takes the lock; allocates for a block larger than
  // any before and than the size announced, and passes audio through if that fails. [audio]
  void processDoubleReplacing(double** inputs, double** outputs, int frames) override;

  // Does nothing: the effect is double precision only. [audio]
  void processReplacing(float** inputs, float** outputs, int frames) override;

  // index: Parameter, any other is ignored or answers 0. value: 0..1, stored unchecked in the live field
  // and in the current program, if there is one by its number. [any thread] Takes no lock.
  void setParameter(int index, float value) override;
  float getParameter(int index) override;

  // Stores the number alone; the live values stay and go into that program from now on. [any thread]
  using Q_TypeBase::setProgram;

  // Texts of the current program: names are cut to 23 characters. While the current number is none of the
  // programs', setting does nothing and getting writes the empty string. text: 24 bytes, 32 for "Init"
  // with its number; null is ignored. [host]
  void setProgramName(char* text) override;
  void getProgramName(char* text) override;
  // The stored name. category: ignored. False for index 16 and above or a null text; a negative index
  // writes the empty string. [host]
  bool getProgramNameIndexed(int category, int index, char* text) override;

  // text: 9 bytes; null is ignored. An index outside 0..4 writes nothing. [any thread]
  void getParameterName(int index, char* text) override;
  void getParameterLabel(int index, char* text) override;
  void getParameterDisplay(int index, char* text) override;
  void getParameterDisplayOf(int index, float value, char* text) override;

  // properties: kParameterPropertiesBytes bytes, all written. False for a null record or an index outside
  // 0..4. [any thread]
  bool getParameterProperties(int index, VstParameterProperties* properties) override;

  // text: 32 bytes. False for a null text, which is ignored. [any thread]
  bool getEffectName(char* text) override;
  bool getVendorString(char* text) override;
  bool getProductString(char* text) override;

  // Constants, whatever the jack. [any thread]
  int getVendorVersion() override;          // 1000
  int getPlugCategory() override;           // 1: an effect
  int getNumOfInJacks() override;           // 1
  int getNumOfOutJacks() override;          // 1
  int getNumOfInSig(int jack) override;     // 1
  int getNumOfOutSig(int jack) override;    // 1
  int getStartNumInSig(int jack) override;  // 0
  int getStartNumOutSig(int jack) override; // 0
  int getDryInSigNum() override;            // -1

  // Makes a program current and its values live; waits for a block in progress. program: 0..15, any other
  // is ignored. [any thread]
  virtual void setProgram(long program);

protected:
  static constexpr int kToneCoefficients = 4;

  // Control (TreadshiftControl.cpp). Call setColor before setPitch: the range comes first.
  // Chooses pitch range, mix rule and gains from the live Color and PedalPos.
  void setColor();
  // Turns a pedal position of 0..1 into cents, pitch ratio, sweep rate and gains; a change of the pitch's
  // sign turns the sweep around.
  void setPitch(float pedal);
  // As setPitch, but leaves the sweep alone. True: the pitch changed its sign.
  bool movePitch(float pedal);
  // The two steps of movePitch: the pitch itself, and what follows from it once it stays.
  void bendPitch(float pedal);
  double centsAt(double pedal) const;
  void settlePitch();
  double sweepRateFor(double ratio) const; // Hz
  // Sets the tone targets from a Tone value of 0..1.
  void setToneTargets(float toneValue);
  void setMixGains(double pedal);

  // Set-up (TreadshiftSetUp.cpp).
  // Takes the first program and fills the record, through the virtual table as everywhere: a call made by
  // the constructor itself, or inlined into it, would skip the table.
  [[gnu::noinline]] void presentToHost();
  void setUp(double rate);
  void adoptRate(double rate);
  void chooseToneBounds();
  void zeroControlState();
  bool canRun(double rate) const;
  bool isBuilt() const;
  bool isPoisoned() const;
  void buildProcessing();
  void buildToneCurves();
  void buildFilters();
  void releaseProcessing();
  void reserveAnnounced() noexcept;
  bool reserveBlockBuffers(int32_t samples) noexcept;
  void releaseBlockBuffers();

  // Values of a block that its samples only read (TreadshiftProcess.cpp).
  struct BlockValues {
    int32_t samples;
    float onOff, color, tone, pedalPos;
    double toneStep[kToneCoefficients]; // per sample
    double pedalStep;                   // per sample
    double tapRestart;                  // samples: delay to which a tap jumps back
    bool fades;                         // a switch plays a fade: gains and On/Off values are in their arrays
    int32_t silence;                    // the silent sample at which the colour changes, or beyond the block
  };

  // The frame of a block.
  bool prepareBuffers(int32_t samples) noexcept;
  BlockValues beginBlock(int32_t samples);
  void beginFirstBlock(const BlockValues& block);
  void runSamples(const double* input, double* output, const BlockValues& block);
  void endBlock(const BlockValues& block);

  // A chunk: control first, then one pass after another (TreadshiftPasses.cpp). steady: nothing that steers
  // the taps or the mix changes inside the chunk.
  int32_t chunkLength(int32_t first, const BlockValues& block, double longestDelay) const;
  void switchColor(const BlockValues& block);
  bool isSteady(const BlockValues& block) const;
  bool pedalRests(const BlockValues& block) const;
  bool pedalHolds(const BlockValues& block) const;
  void followPedal(Chunk& chunk, const BlockValues& block);
  bool followPitch(Chunk& chunk, const BlockValues& block);
  int32_t followSmoother(Chunk& chunk, const BlockValues& block);
  void bendPitches(Chunk& chunk, int32_t bent);
  void followGains(Chunk& chunk) const;
  void followRate(Chunk& chunk, const BlockValues& block);
  void followEveryRate(Chunk& chunk, const BlockValues& block);
  double startSweep(double rate, int32_t i, const BlockValues& block);
  void shiftChunk(Chunk& chunk, double longestDelay, bool steady, const BlockValues& block);
  void shiftSteadily(const DelayLineView& view, TapSweep& taps, FilterRun& filters, Chunk& chunk) const;
  FilterRun beginFilters(const BlockValues& block) const;
  void endFilters(const FilterRun& filters);
  void mixChunk(const Chunk& chunk, const BlockValues& block, bool steady, double* output) const;
  void passInput(const Chunk& chunk, double* output) const;
  template <typename Gains, typename Input>
  void mixOn(const Chunk& chunk, const BlockValues& block, Gains gainsAt, Input inputAt,
             double* output) const;
  void fadeChunk(const Chunk& chunk, double* output) const;

  TreadshiftProgram* programAt(int number) const;
  TreadshiftProgram* liveProgram();
  float* liveField(int index);

  CriticalSection lock;

  // Live parameters, 0..1; one thread writes while another's block reads.
  float onOff, mode, tone, color, pedalPos; // mode is shown and saved and has no part in the sound

  TreadshiftProgram* programs; // owned: programCount programs

  // Set by the sample rate.
  int32_t rateHzInt;     // Hz, truncated
  double rateHz;         // Hz; -1 until the first rate
  int32_t delayLength;   // samples: two seconds
  double minDelay;       // samples: 5 ms, the shortest delay of a tap
  int32_t sweepLength;   // samples: a tap's way between two jumps
  double sweepLengthInv; // per sample
  double toneCurveSeed1, toneCurveSeed2, toneCurveSeed3, toneCurveSeed4; // bounds of the tone curves

  // Objects built for the sample rate, all or none; owned, null until built.
  IIRFilter* pedalSmoother;
  IIRFilter* shiftFilter;
  lfoTriangle* sweepLfo;
  ParamCurve* toneCurves[kToneCoefficients]; // Tone to k1..k4
  ParamSwitch* onOffSwitch;
  ParamSwitch* colorSwitch;
  double* delayLine; // delayLength samples, circular

  // Results of the control steps.
  double centsAtHeel, centsAtToe;     // cents
  double cents, lastCents;            // cents, now and before the latest step
  float pitchPedal;                   // 0..1: the pedal that the pitch was made from
  double pitchRatio;                  // 2^(cents / 1200)
  double sweepRate;                   // Hz
  int32_t mixMode;                    // see ColorRange
  double dryGain, wetGain;            // linear
  double toneCoef[kToneCoefficients]; // low pole, high pole, low gain, high gain

  // Ends of the ramps: values at the end of the block before.
  bool firstBlock; // true until a block has run; a new rate does not set it again
  float lastTone;  // -1 forces new targets
  double prevToneCoef[kToneCoefficients];
  double lastPedal;         // 0..1
  double lastSmoothedPedal; // 0..1, of the sample before

  // State that runs from sample to sample.
  int32_t writeIndex;      // samples into delayLine
  double tapPos1, tapPos2; // samples of delay
  double toneLowState, toneHighState;
  int32_t sweepStart; // samples into the block: where the latest run of the sweep began
  bool turnPending;   // the sweep turns around at the end of the block unless a new run begins before

  // Scratch of a block; owned, null until reserved.
  double* sweepBuffer;   // crossfade position, 0..1; even stretches leave theirs out
  double* onOffGain;     // linear
  double* colorGain;     // linear
  int32_t scratchLength; // samples: entries of each
  int32_t lastBlockSize; // samples

  // Constants of the object. The last four are read by nothing and kept on purpose: they are part of the
  // object's state.
  double centsToOctaves; // 1/1200
  double halfPi;
  double spareTime;  // s
  double spareLevel; // linear
  double spareZero;
};
