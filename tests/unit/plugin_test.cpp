// The sibling modules are found by file name and loaded at run time; a
// directory without them gives the missing-module message that conversion
// reports once per page.
#include <gtest/gtest.h>

#include "driver/converter.hpp"
#include "pagefold/modules.hpp"
#include "testkit.hpp"

using namespace pagefold;

namespace {

const char* kPage = R"(<div class="screen" data-bg="#000000"><div class="text">hi</div></div>)";

TEST(Plugins, LoadedByNameFromADirectoryAndUsedByEveryAdd) {
  const Modules m = Modules::load_from({"/nonexistent", PAGEFOLD_TEST_PLUGIN_DIR});
  ASSERT_NE(m.ui_emit, nullptr);
  EXPECT_EQ(m.gen_res, nullptr);
  const ConvertResult r = testkit::convert_html(kPage, m);
  ASSERT_TRUE(r.pages);
  EXPECT_TRUE((*r.pages)[0].second.get("textview__1").get("required").truthy());
  EXPECT_EQ(r.warnings, std::vector<std::string>{
                            "字段补全：textview 的必填键 ['fontFamily'] 在发射层默认表里没有取值 → "
                            "未补（需在 ui_tools/ui_emit 登记）"});
}

TEST(Plugins, MissingLibrariesLeaveTheModulesAbsent) {
  const Modules m = Modules::load_from({"/nonexistent"});
  EXPECT_EQ(m.ui_emit, nullptr);
  EXPECT_EQ(m.gen_res, nullptr);
  const ConvertResult r = testkit::convert_html(kPage, m);
  EXPECT_EQ(r.warnings,
            std::vector<std::string>{"必填键补全未走共享发射层（ui_emit 不可用：No module named "
                                     "'ui_emit'）→ 本页可能缺必填键"});
}

}  // namespace
