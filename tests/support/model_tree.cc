#include "support/model_tree.h"

#include "devcfg/devcfg_record.h"
#include "radio/radio_config_table.h"
#include "radio/radio_region_table.h"

namespace aputil::test {

const char kMinimalDevConfig[] = R"({"lanport": {"dlPortNum": 0, "ulPortAliasName": "ETH", "ulPortIfName": "eth0"}})";

ModelTree::ModelTree() {
  forget_loaded();
  set_identity("AP100 X(EU):2.0\nsecond line:ignored\n");
}

void ModelTree::set_identity(const std::string &product_info, const std::string &region) const {
  write("/nvram/product-info", product_info);
  write("/nvram/region", region);
}

void ModelTree::write_model(const std::string &file, const std::string &content, const std::string &dir) const {
  write(dir + "/" + file, content);
}

void ModelTree::forget_loaded() {
  devcfg::reset_for_tests();
  radio::reset_for_tests();
  radio::reset_region_for_tests();
}

}  // namespace aputil::test
