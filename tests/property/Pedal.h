// The two pedals that are held against each other, behind one face: the module, driven through its record,
// and the plain one.
#pragma once

#include "host/EffectRunner.h"
#include "tests/reference/PlainPedal.h"

#include <string>

// What a host can do to a pedal, as far as it can be heard.
class Pedal {
public:
  virtual ~Pedal() = default;
  virtual void setSampleRate(float rateHz) = 0;
  virtual void setBlockSize(int samples) = 0;
  virtual void resume() = 0;
  virtual void suspend() = 0;
  virtual void setParameter(int index, float value) = 0;
  virtual void selectProgram(int number) = 0; // opcode 2
  virtual void loadProgram(int number) = 0;   // setProgram(long)
  virtual void process(const double* input, double* output, int n) = 0;
};

// The module under test: the one that TREADSHIFT_TESTED_MODULE of the environment names, else the built one.
std::string testedModule();

// A module.
class ModulePedal : public Pedal {
public:
  // file: the module. host: the host's services; null: the plainest host there is.
  explicit ModulePedal(const std::string& file = testedModule(), HostCallback host = nullptr)
      : runner(file, host) {}
  void setSampleRate(float rateHz) override { runner.setSampleRate(rateHz); }
  void setBlockSize(int samples) override { runner.setBlockSize(samples); }
  void resume() override { runner.resume(); }
  void suspend() override { runner.suspend(); }
  void setParameter(int index, float value) override { runner.setParameter(index, value); }
  void selectProgram(int number) override { runner.dispatch(kOpSetProgram, 0, number); }
  void loadProgram(int number) override;
  void process(const double* input, double* output, int n) override { runner.process(input, output, n); }

  AEffect* record() const { return runner.record(); }
  float parameter(int index) const { return runner.parameter(index); }
  int program() const { return static_cast<int>(runner.dispatch(kOpGetProgram)); }

private:
  EffectRunner runner;
};

// The plain pedal; announcing a block size and suspending are nothing to it.
class PlainSide : public Pedal {
public:
  void setSampleRate(float rateHz) override { plain.setSampleRate(rateHz); }
  void setBlockSize(int) override {}
  void resume() override { plain.resume(); }
  void suspend() override {}
  void setParameter(int index, float value) override { plain.setParameter(index, value); }
  void selectProgram(int number) override { plain.selectProgram(number); }
  void loadProgram(int number) override { plain.loadProgram(number); }
  void process(const double* input, double* output, int n) override { plain.process(input, output, n); }

  const PlainEvents& events() const { return plain.events; }
  float parameter(int index) const { return plain.parameter(index); }
  int program() const { return plain.program(); }

private:
  PlainPedal plain;
};
