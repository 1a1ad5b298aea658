// --json: every command's document parses, carries numbers as numbers, and
// failures carry the error's symbol, code and message.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli_runner.h"

namespace {

using nlohmann::json;

class CliJson : public ::testing::Test {
protected:
    void SetUp() override {
        if (!tool.available()) GTEST_SKIP() << "command-line tool not built";
    }
    json run(std::vector<std::string> args, int* status = nullptr) {
        const std::vector<std::string> camera = {"--json", "--transports", "null", "--sensor-data", sensor};
        args.insert(args.begin(), camera.begin(), camera.end());
        const ToolResult r = tool.run(args);
        if (status != nullptr) *status = r.status;
        return json::parse(r.out);  // throws (and fails the test) on anything but one JSON document
    }
    CliRunner tool;
    const std::string sensor = std::string(CAMKIT_DATA_DIR) + "/sensor_data/ck_soc.sdat";
};

}  // namespace

TEST_F(CliJson, EachCommandGivesOneParsableDocument) {
    json list = run({"list"});
    EXPECT_EQ(list["command"], "list");
    ASSERT_EQ(list["cameras"].size(), 1u);
    EXPECT_TRUE(list["cameras"][0]["registers"].is_number());
    EXPECT_EQ(list["cameras"][0]["transport_type"], 0x10000);

    json info = run({"info"});
    EXPECT_TRUE(info["info"]["width"].is_number());
    EXPECT_EQ(info["info"]["transport"], "NUL (0x10000)");

    json regs = run({"regs", "*VERSION*", "--fields"});
    ASSERT_FALSE(regs["registers"].empty());
    EXPECT_TRUE(regs["registers"][0]["address"].is_number());
    EXPECT_TRUE(regs["registers"][0]["bitfields"].is_array());

    json vars = run({"vars"});
    EXPECT_FALSE(vars["registers"].empty());
    json sfrs = run({"sfrs", "--limit", "2"});
    EXPECT_EQ(sfrs["registers"].size(), 2u);

    json chain = run({"get", "CHIP_VERSION_REG", "+", "describe", "CHIP_VERSION_REG"});
    ASSERT_TRUE(chain.is_array());
    EXPECT_EQ(chain[0]["values"][0]["value"], 0);  // the null camera reads 0
    EXPECT_TRUE(chain[1]["targets"][0]["address"].is_number());
    EXPECT_EQ(chain[1]["targets"][0]["register"], "CHIP_VERSION_REG");
}

TEST_F(CliJson, FailuresCarryTheErrorAndKeepTheDocumentWhole) {
    int status = 0;
    json get = run({"get", "NO_SUCH_REGISTER"}, &status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(get["ok"], false);
    ASSERT_EQ(get["errors"].size(), 1u);
    EXPECT_EQ(get["errors"][0]["code"], 1);
    EXPECT_FALSE(get["errors"][0]["symbol"].get<std::string>().empty());
    EXPECT_FALSE(get["errors"][0]["message"].get<std::string>().empty());

    const ToolResult r = tool.run({"--json", "--transports", "0", "list"});
    EXPECT_EQ(r.status, 1);
    const json open = json::parse(r.out);
    EXPECT_EQ(open["command"], "open");
    EXPECT_EQ(open["ok"], false);
}
