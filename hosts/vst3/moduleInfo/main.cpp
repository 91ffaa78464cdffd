// Prints the bundle's moduleinfo.json: the factory's description of the plug-in, for hosts that
// scan without loading it. The names are plain ASCII without quotes, so nothing is escaped.

#include <fmt/format.h>

#include <cstdio>
#include <string>

#include "hosts/instance/product.h"
#include "hosts/vst3/identity.h"

int main() {
    using namespace qov::hosts;
    std::string id;
    for (const auto byte : vst3::classId) id += fmt::format("{:02X}", byte);
    std::string categories;
    for (const char c : vst3::subcategories)
        c == '|' ? categories.append("\", \"") : categories.append(1, c);
    fmt::print(R"({{
  "Name": "{0}",
  "Version": "{1}",
  "Factory Info": {{
    "Vendor": "{2}",
    "URL": "",
    "E-Mail": "",
    "Flags": {{"Unicode": true, "Classes Discardable": false, "Component Non Discardable": false}}
  }},
  "Classes": [
    {{
      "CID": "{3}",
      "Category": "{4}",
      "Name": "{0}",
      "Vendor": "{2}",
      "Version": "{1}",
      "SDKVersion": "{5}",
      "Sub Categories": ["{6}"],
      "Class Flags": 0,
      "Cardinality": {7},
      "Snapshots": []
    }}
  ]
}}
)",
               product::name, product::version, product::maker, id, vst3::category,
               vst3::formatVersion, categories, vst3::cardinality);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
