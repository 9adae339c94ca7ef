#include "framework/Q_TypeIF.h"

Q_TypeIF::Q_TypeIF(AEffect* record) : effect(record) {}

Q_TypeIF::~Q_TypeIF() = default;
