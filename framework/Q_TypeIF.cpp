#include "framework/Q_TypeIF.h"

Q_TypeIF::Q_TypeIF(AEffect* effect) : effect(effect) {}

Q_TypeIF::~Q_TypeIF() = default;
