#include "effect/Analytics.h"

void AnalyticsStart() {}

void AnalyticsEvent(const char* /*name*/) {}
