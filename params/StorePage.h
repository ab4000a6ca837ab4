// Opening the maker's store page in the user's default browser.
#pragma once
#include <functional>
#include <string>

// Opens `url`; returns false when the system refused.
using StorePageOpener = std::function<bool(const std::string& url)>;

// Opens the store page (kStoreURL) through the current opener. The default
// opener appends the URL as one line to the file named by the environment
// variable DRIFTSMEAR_STORE_OPENER_LOG when that is set, and otherwise hands
// it to the system: the shell's "open" verb on Windows, xdg-open elsewhere,
// without waiting for the browser.
bool OpenStorePage();

// Replaces the opener; an empty function restores the default one.
void SetStorePageOpener(StorePageOpener opener);

// The system's way of opening a URL, without the environment override.
bool OpenURLWithSystem(const std::string& url);
