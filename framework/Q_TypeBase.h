// The framework's layer between AudioEffectX and an effect: questions about jacks and signals.
#pragma once

#include "vst/AudioEffectX.h"

// Listens to an effect; the framework neither defines nor calls it.
class Q_VstListner;

// The virtual operations stand in slot order, behind those of AudioEffectX. Effects override what differs
// from the answers in the comments. Allocates nothing.
class Q_TypeBase : public AudioEffectX {
public:
  // As AudioEffectX. [host, processing stopped]
  Q_TypeBase(HostCallback host, int numPrograms, int numParams);
  ~Q_TypeBase() override;

  // Whatever the jack. [any thread]
  virtual int getNumOfInJacks();          // 1
  virtual int getNumOfOutJacks();         // 1
  virtual int getNumOfInSig(int jack);    // signals of an input jack: 2
  virtual int getNumOfOutSig(int jack);   // signals of an output jack: 1
  virtual int getStartNumInSig(int jack); // first signal of an input jack: 0
  virtual int getStartNumOutSig(int jack);
  virtual int getDryInSigNum();                   // -1: no dry input signal
  virtual void setListner(Q_VstListner* listner); // the argument is dropped
  // The text of `value` as parameter `index` would show it; text holds 9 bytes. Here: left untouched.
  virtual void getParameterDisplayOf(int index, float value, char* text);
  virtual int getHeaderVersion();      // the field
  virtual void setTime(float seconds); // does nothing

protected:
  double baseTime;       // s
  int32_t headerVersion; // 1
};
