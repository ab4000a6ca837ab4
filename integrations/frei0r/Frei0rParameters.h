// The frei0r face of the effect's parameters. Every parameter people set on
// the effect (the sliders, angles and the checkbox of the catalog, the preset
// menu and the debug view) becomes one frei0r parameter named by its catalog
// key. frei0r numbers are 0 to 1, so a slider's 0–1 value maps linearly onto
// the range the effect registers (value = min + x × (max − min)) and an angle
// onto 0–360 degrees; the preset and the debug view are strings.
//
// The ranges and defaults are read from the effect itself: the module is set
// up once (global and parameter setup, no device) when the table is built.
// When it cannot be, the table keeps the same names and types and says why in
// `loadError`.
#pragma once
#include <string>
#include <vector>

#include "host/ParameterCatalog.h"

namespace dsfrei0r {

// frei0r's parameter types (F0R_PARAM_*), kept here so that the table can be
// used without frei0r.h.
enum class Frei0rType { Bool = 0, Double = 1, String = 4 };

struct Frei0rParameter {
  const dshost::ParameterInfo* info = nullptr;  // the effect's parameter
  Frei0rType type = Frei0rType::Double;
  std::string explanation;
  // Doubles: the natural range the 0–1 value maps onto. Bools: 0 and 1.
  double min = 0.0;
  double max = 1.0;
  double defaultValue = 0.0;  // natural units (degrees, slider value, 0/1)
  std::string defaultText;    // strings

  const char* name() const { return info->key; }
  // 0–1 (clamped; NaN gives the default) to natural units, and back.
  double ToNatural(double unit) const;
  double ToUnit(double natural) const;
};

class Frei0rParameterTable {
 public:
  // Builds the table, setting the module at `modulePath` up once to read its
  // ranges; an empty path or a module that fails records `loadError`.
  explicit Frei0rParameterTable(const std::string& modulePath);

  const std::vector<Frei0rParameter>& parameters() const { return parameters_; }
  int size() const { return static_cast<int>(parameters_.size()); }
  const Frei0rParameter* at(int index) const;
  const std::string& modulePath() const { return modulePath_; }
  // Why the effect could not be set up, or empty.
  const std::string& loadError() const { return loadError_; }

 private:
  std::string modulePath_;
  std::string loadError_;
  std::vector<Frei0rParameter> parameters_;
};

// The menu item of a preset by key, English or Chinese name (any case); null
// for an empty text, "none" or an unknown name.
const dshost::PopupItemInfo* FindPresetItem(const std::string& text);
// The debug view by key, registered or English name; null when unknown.
const dshost::PopupItemInfo* FindViewItem(const std::string& text);

}  // namespace dsfrei0r
