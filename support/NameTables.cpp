#include "support/NameTables.h"

namespace {

template <std::size_t N>
std::string NameAt(const std::array<const char*, N>& table, A_long index, const char* unknownPrefix) {
  if (index >= 0 && static_cast<std::size_t>(index) < table.size()) {
    return table[static_cast<std::size_t>(index)];
  }
  return std::string(unknownPrefix) + " (" + std::to_string(index) + ")";
}

}  // namespace

const std::map<PF_Err, std::string>& ErrorNames() {
  static const std::map<PF_Err, std::string> names = {
      {PF_Err_NONE, "PF_Err_NONE"},
      {PF_Err_OUT_OF_MEMORY, "PF_Err_OUT_OF_MEMORY"},
      {PF_Err_INTERNAL_STRUCT_DAMAGED, "PF_Err_INTERNAL_STRUCT_DAMAGED"},
      {PF_Err_INVALID_INDEX, "PF_Err_INVALID_INDEX"},
      {PF_Err_UNRECOGNIZED_PARAM_TYPE, "PF_Err_UNRECOGNIZED_PARAM_TYPE"},
      {PF_Err_INVALID_CALLBACK, "PF_Err_INVALID_CALLBACK"},
      {PF_Err_BAD_CALLBACK_PARAM, "PF_Err_BAD_CALLBACK_PARAM"},
      {PF_Interrupt_CANCEL, "PF_Interrupt_CANCEL"},
      {PF_Err_CANNOT_PARSE_KEYFRAME_TEXT, "PF_Err_CANNOT_PARSE_KEYFRAME_TEXT"},
  };
  return names;
}

std::string ErrorDescription(PF_Err code) {
  const auto& names = ErrorNames();
  const auto found = names.find(code);
  const std::string name = found != names.end() ? found->second : "PF_Err?UNKNOWN";
  return name + " (" + std::to_string(code) + ")";
}

std::string CommandName(PF_Cmd cmd) { return NameAt(kCommandNames, cmd, "PF_Cmd?UNKNOWN"); }

std::string EventName(A_long event) { return NameAt(kEventNames, event, "PF_Event?UNKNOWN"); }

std::string ArbitraryName(A_long selector) { return NameAt(kArbitraryNames, selector, "PF_Arbitrary?UNKNOWN"); }
