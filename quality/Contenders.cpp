#include "quality/Contenders.h"

#include "peers/LadspaPeer.h"
#include "peers/Lv2Peer.h"
#include "quality/PedalShifter.h"
#include "quality/PeerShifter.h"

#include <cmath>
#include <stdexcept>

namespace {

constexpr int kOctaveDownToUp = 4; // the colour that reaches as far as the peers do

float ratioOf(double cents) { return static_cast<float>(std::exp2(cents / 1200.0)); }

void steerCoefficient(Peer& peer, double cents) { peer.setControl("Pitch co-efficient", ratioOf(cents)); }

void steerShift(Peer& peer, double cents) { peer.setControl("Pitch shift", ratioOf(cents)); }

void steerSemitones(Peer& peer, double cents) {
  peer.setControl("Semitone Shift", static_cast<float>(cents / 100.0));
}

// Semitones are whole there, cents fill in.
void steerSemitonesAndCents(Peer& peer, double cents) {
  const double semitones = std::trunc(cents / 100.0);
  peer.setControl("Semitones", static_cast<float>(semitones));
  peer.setControl("Cents", static_cast<float>(cents - 100.0 * semitones));
}

void steerDetune(Peer& peer, double cents) { peer.setControl("DETUNE", static_cast<float>(cents / 100.0)); }

// The knob has no unit; the first channel goes down by three semitones times its cube, which the measured
// interval confirms.
void steerCubedDetune(Peer& peer, double cents) {
  peer.setControl("detune", static_cast<float>(std::cbrt(std::abs(cents) / 300.0)));
}

struct LadspaName {
  const char* key;
  const char* name;
  const char* file;
  const char* label;
  SteerPeer steer;
  PeerControls controls = {};
};

const LadspaName kLadspa[] = {
    {"am", "swh amPitchshift", "am_pitchshift_1433.so", "amPitchshift", steerShift},
    {"tap", "TAP pitch", "tap_pitch.so", "tap_pitch", steerSemitones},
    {"scale", "swh pitchScale", "pitch_scale_1193.so", "pitchScale", steerCoefficient},
    {"scalehq", "swh pitchScaleHQ", "pitch_scale_1194.so", "pitchScaleHQ", steerCoefficient},
    {"r2",
     "rubberband R2",
     "ladspa-rubberband.so",
     "rubberband-pitchshifter-mono",
     steerSemitonesAndCents,
     {{"Crispness", 0.0f}}}, // else bare tones are taken for drum hits
    {"r3", "rubberband R3", "ladspa-rubberband.so", "rubberband-r3-pitchshifter-mono",
     steerSemitonesAndCents},
};

struct Lv2Name {
  const char* key;
  const char* name;
  const char* uri;
  PeerControls controls;
  bool reachesOctave;
  SteerPeer steer;
};

const Lv2Name kLv2[] = {
    {"gx",
     "guitarix detune",
     "http://guitarix.sourceforge.net/plugins/gx_detune_#_detune_",
     {{"WET", 100.0f}, {"DRY", 0.0f}},
     true,
     steerDetune},
    {"mda", "mda Detune", "http://drobilla.net/plugins/mda/Detune", {{"mix", 1.0f}}, false, steerCubedDetune},
};

template <typename Opened> std::unique_ptr<Peer> installed(Opened peer, const std::string& name) {
  if (!peer) throw std::runtime_error(name + " is not installed; script/packages quality installs it");
  return peer;
}

Contender ownContender(const std::string& modulePath) {
  return {"own", "Treadshift", true, [=](double pedal, int) {
            const PedalSetting setting{.color = kOctaveDownToUp, .pedal = pedal};
            return std::make_unique<PedalShifter>(modulePath, setting, Heard::shiftedOnly);
          }};
}

Contender contenderOf(const LadspaName& peer) {
  return {peer.key, peer.name, true, [&peer](double pedal, int blockSamples) {
            auto opened =
                installed(LadspaPeer::open(peer.file, peer.label, kRateHz, peer.controls), peer.name);
            return std::make_unique<PeerShifter>(std::move(opened), peer.steer, pedal, blockSamples);
          }};
}

Contender contenderOf(const Lv2Name& peer) {
  return {peer.key, peer.name, peer.reachesOctave, [&peer](double pedal, int blockSamples) {
            auto opened = installed(Lv2Peer::open(peer.uri, kRateHz, blockSamples, peer.controls), peer.name);
            return std::make_unique<PeerShifter>(std::move(opened), peer.steer, pedal, blockSamples);
          }};
}

} // namespace

std::vector<Contender> contenders(const std::string& modulePath) {
  std::vector<Contender> all = {ownContender(modulePath)};
  for (const LadspaName& peer : kLadspa)
    all.push_back(contenderOf(peer));
  for (const Lv2Name& peer : kLv2)
    all.push_back(contenderOf(peer));
  for (const Contender& contender : all)
    contender.make(pedalFor(0.0), kShortBlock);
  return all;
}
