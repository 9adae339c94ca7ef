#include "framework/Q_TypeBase.h"

Q_TypeBase::Q_TypeBase(HostCallback host, int numPrograms, int numParams)
    : AudioEffectX(host, numPrograms, numParams), baseTime(0.0), headerVersion(1) {}

Q_TypeBase::~Q_TypeBase() = default;

int Q_TypeBase::getNumOfInJacks() { return 1; }
int Q_TypeBase::getNumOfOutJacks() { return 1; }
int Q_TypeBase::getNumOfInSig(int) { return 2; }
int Q_TypeBase::getNumOfOutSig(int) { return 1; }
int Q_TypeBase::getStartNumInSig(int) { return 0; }
int Q_TypeBase::getStartNumOutSig(int) { return 0; }
int Q_TypeBase::getDryInSigNum() { return -1; }
void Q_TypeBase::setListner(Q_VstListner*) {}
void Q_TypeBase::getParameterDisplayOf(int, float, char*) {}
int Q_TypeBase::getHeaderVersion() { return headerVersion; }
void Q_TypeBase::setTime(float) {}
