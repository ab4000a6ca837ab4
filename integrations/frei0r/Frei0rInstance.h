// One frei0r instance: a render session of our host (the Drift Smear module
// driven through EffectMain, as After Effects drives it, on the preferred
// device), the ring of frames it renders from, and the parameter values the
// host set. Whatever goes wrong is said once on standard error, and the
// input is passed through.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/RenderSession.h"
#include "integrations/frei0r/FrameRing.h"
#include "integrations/frei0r/Frei0rParameters.h"

namespace dsfrei0r {

class Frei0rInstance {
 public:
  Frei0rInstance(std::shared_ptr<const Frei0rParameterTable> table, unsigned width, unsigned height);
  ~Frei0rInstance();
  Frei0rInstance(const Frei0rInstance&) = delete;
  Frei0rInstance& operator=(const Frei0rInstance&) = delete;

  // `value` points at a double (numbers and switches) or a char* (strings),
  // as frei0r passes them. Unknown indices are ignored.
  void SetParameter(int index, const void* value);
  void GetParameter(int index, void* value) const;

  // Renders the frame at `time`; on any failure `out` gets `in`.
  void Update(double time, const uint32_t* in, uint32_t* out);

  // The ring, for inspection (null for a size the module does not take).
  const FrameRing* ring() const { return ring_.get(); }
  // The messages written to standard error so far.
  const std::vector<std::string>& reports() const { return reports_; }

 private:
  struct Value {
    double unit = 0.0;   // the 0–1 value (numbers and switches)
    std::string text;    // strings
    bool given = false;  // the host set it
  };

  bool OpenSession();
  void ApplyParameters();
  size_t FramesNeeded() const;
  void PassThrough(const uint32_t* in, uint32_t* out) const;
  // Writes "driftsmear (frei0r): <message>" to standard error, once per
  // distinct message.
  void Report(const std::string& message);

  std::shared_ptr<const Frei0rParameterTable> table_;
  unsigned width_;
  unsigned height_;
  std::unique_ptr<FrameRing> ring_;
  std::vector<Value> values_;
  std::unique_ptr<dshost::RenderSession> session_;
  bool unusable_ = false;
  bool presetApplied_ = false;
  std::string appliedPreset_;
  std::vector<std::string> reports_;
};

}  // namespace dsfrei0r
