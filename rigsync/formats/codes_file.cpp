// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/codes_file.h"

#include <nlohmann/json.hpp>

namespace rigsync {

namespace {

using Json = nlohmann::ordered_json;

Json Advice_Object(const Code_Advice& Advice) {
  Json Entry;
  Entry["code"] = Advice.Code;
  Entry["usable"] = Is_Usable_Code(Advice.Code);
  Entry["meaning"] = Advice.Meaning;
  Entry["on_stage"] = Advice.On_Stage;
  Entry["causes"] = Advice.Causes;
  Entry["next_step"] = Advice.Next_Step;
  return Entry;
}

}  // namespace

std::string Code_Json(const Code_Advice& Advice) {
  return Advice_Object(Advice).dump(2) + "\n";
}

std::string All_Codes_Json() {
  Json List = Json::array();
  for (const Code_Advice& Advice : All_Codes()) List.push_back(Advice_Object(Advice));
  return List.dump(2) + "\n";
}

}  // namespace rigsync
