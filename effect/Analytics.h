// The usage-analytics client. It keeps its call points but sends nothing
// anywhere.
#pragma once

void AnalyticsStart();
void AnalyticsEvent(const char* name);
