// Replays every input kept in tests/data/fuzz_regressions/sdat and .../xsdat
// through the sensor-data readers, plainly and the way the sensor search parses, and
// checks that whatever it leaves behind is well formed (bounded counts,
// terminated texts, pointers into the right tables).  Run under the
// sanitizers this also catches any out-of-bounds access.
#include <dirent.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "bus_sim.h"
#include "core/camkit_private.h"
#include "sdat_camera.h"
#include "test_paths.h"

namespace {

std::string regression_dir(const char* target = "sdat") {
    return std::string(ck_test_source_dir()) + "/tests/data/fuzz_regressions/" + target;
}

std::vector<std::string> regression_files(const char* target = "sdat") { return ck_files_in(regression_dir(target)); }

bool terminated(const char* text, size_t size = CI_STRING_LEN) { return memchr(text, '\0', size) != nullptr; }

// The text form holds at most 33 bitfields a register; the XML form grows
// its arrays.
void expect_well_formed(const ci_sensor_t* s, const _common_context_t* ctx, const std::string& file,
                        ci_s32 maxBitfields = CI_MAX_BITFIELDS) {
    SCOPED_TRACE(file);
    ASSERT_NE(nullptr, s);
    EXPECT_TRUE(terminated(s->sensorName) && terminated(s->partNumber) && terminated(s->versionName) &&
                terminated(s->sensorFileName));
    const ci_addr_space_t* table = s->addr_space;
    if (table) {
        ASSERT_GE(table->num_vals, 0);
        EXPECT_EQ(table->num_vals == 0, table->addr_space_val == nullptr);
        for (ci_s32 i = 0; i < table->num_vals; ++i)
            EXPECT_TRUE(terminated(table->addr_space_val[i].ID) && terminated(table->addr_space_val[i].name));
    }
    ASSERT_GE(s->num_regs, 0);
    for (ci_s32 i = 0; i < s->num_regs; ++i) {
        const ci_reg_data_t& r = s->regs[i];
        EXPECT_TRUE(terminated(r.unique_desc) && terminated(r.reg_desc) && terminated(r.detail)) << i;
        EXPECT_GE(r.addr_span, 1u);
        ASSERT_GE(r.num_bitfields, 0);
        ASSERT_LE(r.num_bitfields, maxBitfields);
        EXPECT_EQ(r.num_bitfields == 0, r.bitfield == nullptr);
        for (ci_s32 b = 0; b < r.num_bitfields; ++b)
            EXPECT_TRUE(terminated(r.bitfield[b].id) && terminated(r.bitfield[b].desc) &&
                        terminated(r.bitfield[b].detail));
        if (r.addr_space) {
            ASSERT_NE(nullptr, table);
            EXPECT_TRUE(r.addr_space >= table->addr_space_val &&
                        r.addr_space < table->addr_space_val + table->num_vals);
        }
    }
    EXPECT_LE(ctx->num_shipAddrs, CI_MAX_SHIP_ADDRS);
    EXPECT_LE(ctx->num_partNumbers, CI_MAX_PART_NUMBERS);
    ASSERT_GE(ctx->num_probe_term, 1);
    ASSERT_LE(ctx->num_probe_term, CI_MAX_PROBE_TERMS);
    for (ci_s32 t = 0; t < ctx->num_probe_term; ++t) {
        const _probe_term_t& term = ctx->probe_term[t];
        EXPECT_LE(term.num_extra_desc_val, CI_MAX_VALUES);
        EXPECT_LE(term.num_version_reg_write, CI_MAX_VERSION_REG_WRITES);
        EXPECT_LE(term.num_version_reg_read, CI_MAX_VERSION_REG_READS);
        EXPECT_LE(term.num_serial_match, CI_MAX_SERIAL_MATCHES);
        EXPECT_TRUE(terminated(term.extra_desc_reg));
    }
    ASSERT_GE(s->num_long_desc, 0);
    EXPECT_EQ(s->num_long_desc == 0, s->long_desc == nullptr);
    for (ci_s32 i = 0; i < s->num_long_desc; ++i) EXPECT_NE(nullptr, s->long_desc[i].longDesc);
}

const std::set<ci_error_code> kParseResults = {
    CI_PARSE_SUCCESS,   CI_SENSOR_FILE_PARSE_ERROR, CI_SENSOR_DOES_NOT_MATCH, CI_DUPLICATE_DESC_ERROR,
    CI_PARSE_REG_ERROR, CI_UKNOWN_SECTION_ERROR,    CI_CHIP_DESC_ERROR,       CI_PARSE_ADDR_SPACE_ERROR,
};

}  // namespace

TEST(SdatFuzzRegressions, EveryKeptInputParsesToAWellFormedRecord) {
    std::vector<std::string> files = regression_files();
    ASSERT_FALSE(files.empty()) << "no inputs in " << regression_dir();
    for (const std::string& file : files) {
        ParseCamera cam;
        ci_error_code result = cam.parse(file);
        EXPECT_TRUE(kParseResults.count(result)) << file << " gave " << result;
        expect_well_formed(cam.sensor(), cam.ctx(), file);
    }
}

TEST(SdatFuzzRegressions, AndTheSameWhileSearching) {
    for (const std::string& file : regression_files()) {
        BusSim bus;
        bus.addDevice(0x48, 8, 16).seed(0x00, 0x1234);
        bus.addDevice(0x20, 16, 16);
        SimCamera cam(bus);
        cam.ctx()->match_chip_version_reg = 1;
        cam.ctx()->match_soc_only = 1;
        ci_error_code result = ci_ParseSensorFile(cam.get(), file.c_str(), nullptr);
        EXPECT_TRUE(kParseResults.count(result)) << file << " gave " << result;
        expect_well_formed(cam->sensor, cam.ctx(), file);
    }
}

// Inputs with a known outcome.
TEST(SdatFuzzRegressions, KnownOutcomes) {
    struct Row {
        const char* name;
        ci_error_code result;
    } rows[] = {
        {"bitfields.sdat", CI_PARSE_REG_ERROR}, {"empty.sdat", CI_CHIP_DESC_ERROR}, {"boms.sdat", CI_PARSE_SUCCESS},
        {"many_spaces.sdat", CI_PARSE_SUCCESS}, {"headers.sdat", CI_PARSE_SUCCESS},
    };
    for (const Row& row : rows) {
        ParseCamera cam;
        EXPECT_EQ(row.result, cam.parse(regression_dir() + "/" + row.name)) << row.name;
    }
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(regression_dir() + "/many_spaces.sdat"));
    EXPECT_EQ(231, cam.sensor()->addr_space->num_vals);
    EXPECT_EQ(100, cam.sensor()->num_regs);
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(regression_dir() + "/headers.sdat"));
    EXPECT_EQ(4, cam.ctx()->num_probe_term);  // "[OPTIONAL" without its bracket still opens a section
    EXPECT_STREQ("X", cam.ctx()->probe_term[3].extra_desc_reg);
}

TEST(XsdatFuzzRegressions, EveryKeptInputParsesToAWellFormedRecord) {
#ifndef CAMKIT_HAVE_EXPAT
    GTEST_SKIP() << "built without the XML reader";
#endif
    std::vector<std::string> files = regression_files("xsdat");
    ASSERT_FALSE(files.empty()) << "no inputs in " << regression_dir("xsdat");
    for (const std::string& file : files) {
        ParseCamera cam;
        ci_error_code result = cam.parse(file);
        EXPECT_TRUE(kParseResults.count(result)) << file << " gave " << result;
        expect_well_formed(cam.sensor(), cam.ctx(), file, INT32_MAX);
        BusSim bus;
        bus.addDevice(0x20, 16, 16);
        SimCamera sim(bus);
        sim.ctx()->match_chip_version_reg = 1;
        sim.ctx()->match_no_soc = 1;
        result = ci_ParseSensorFile(sim.get(), file.c_str(), nullptr);
        EXPECT_TRUE(kParseResults.count(result)) << file << " gave " << result;
        expect_well_formed(sim->sensor, sim.ctx(), file, INT32_MAX);
    }
}

TEST(XsdatFuzzRegressions, KnownOutcomes) {
#ifndef CAMKIT_HAVE_EXPAT
    GTEST_SKIP() << "built without the XML reader";
#endif
    struct Row {
        const char* name;
        ci_error_code result;
    } rows[] = {
        {"unclosed.xsdat", CI_SENSOR_FILE_PARSE_ERROR}, {"laughs.xsdat", CI_SENSOR_FILE_PARSE_ERROR},
        {"bom_only.xsdat", CI_SENSOR_FILE_PARSE_ERROR}, {"bad_utf8.xsdat", CI_SENSOR_FILE_PARSE_ERROR},
        {"growth.xsdat", CI_PARSE_SUCCESS},
    };
    for (const Row& row : rows) {
        ParseCamera cam;
        EXPECT_EQ(row.result, cam.parse(regression_dir("xsdat") + "/" + row.name)) << row.name;
    }
    // Registers read before the address spaces keep pointing at the right
    // entries when the table grows and moves.
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(regression_dir("xsdat") + "/growth.xsdat"));
    ASSERT_EQ(120, cam.sensor()->num_regs);
    EXPECT_EQ(nullptr, cam.reg("R0")->addr_space);
    EXPECT_STREQ("S6", cam.reg("R118")->addr_space->ID);
    EXPECT_EQ(6u, cam.reg("R118")->reg_space);
}
