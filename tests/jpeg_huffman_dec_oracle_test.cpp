// Huffman decoding against libjpeg-turbo: every scan of real files, baseline and progressive, is
// decoded with the library's primitives, and the final coefficients must equal what
// jpeg_read_coefficients gives, in every tier, from one buffer and from many small ones.
#include "huffman_dec_scan.h"
#include "huffman_dec_support.h"
#include "jpeg_file.h"
#include "tier_fixture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <jpeglib.h>
#include <map>

namespace {

using namespace lumtest;

const char* const kFiles[] = {
    "gen_q85_420.jpg",
    "gen_q95_444.jpg",
    "gen_q75_420_optimize.jpg",
    "gen_q85_420_restart1row.jpg",
    "gen_jpegtran_restart5mcu.jpg",
    "gen_gray_q85.jpg",
    "gen_gray_q60_restart3mcu.jpg",
    "gen_gray_q85_progressive.jpg",
    "gen_q85_420_progressive.jpg",
    "gen_q85_420_progressive_restart1row.jpg",
    "gen_jpegtran_scans_refine.jpg",
    "gen_q80_420_noninterleaved_sequential.jpg",
    "gen_q80_420_scans_spectral_only.jpg",
    "gen_size_17x13_420.jpg",
    "gen_size_1x1_420.jpg",
    "gen_size_227x149_444.jpg",
    "gen_jpegtran_crop_123x85.jpg",
    "gen_flat_progressive_eobrun.jpg",
    "gen_noise_q100_444.jpg",
    "gen_noise_q100_444_progressive.jpg",
    "gen_q50_422.jpg",
    "gen_ycck_q75_progressive.jpg",
    "gen_q5_dqt16bit_extended.jpg",
    "coffee_q75.jpg",
};

std::vector<uint8_t> readData(const std::string& name)
{
    return readFileBytes(std::string(LUM_SOURCE_DIR) + "/tests/data/jpeg/" + name);
}

// libjpeg-turbo's coefficients: per component, width_in_blocks by height_in_blocks blocks.
struct OracleCoefs {
    std::vector<int> cols, rows;
    std::vector<std::vector<JCOEF>> coef;
};

OracleCoefs readWithLibjpeg(const std::vector<uint8_t>& file)
{
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&cinfo, TRUE);
    jvirt_barray_ptr* arrays = jpeg_read_coefficients(&cinfo);
    OracleCoefs o;
    for (int c = 0; c < cinfo.num_components; ++c) {
        const jpeg_component_info& comp = cinfo.comp_info[c];
        const int cols = static_cast<int>(comp.width_in_blocks), rows = static_cast<int>(comp.height_in_blocks);
        o.cols.push_back(cols);
        o.rows.push_back(rows);
        std::vector<JCOEF> plane(static_cast<size_t>(cols) * rows * 64);
        for (int y = 0; y < rows; ++y) {
            JBLOCKARRAY row = (*cinfo.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&cinfo), arrays[c],
                                                              static_cast<JDIMENSION>(y), 1, FALSE);
            for (int x = 0; x < cols; ++x)
                std::memcpy(&plane[(static_cast<size_t>(y) * cols + x) * 64], row[0][x], 64 * sizeof(JCOEF));
        }
        o.coef.push_back(std::move(plane));
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return o;
}

const OracleCoefs& oracleFor(const std::string& name)
{
    static std::map<std::string, OracleCoefs> cache;
    auto it = cache.find(name);
    if (it == cache.end()) it = cache.emplace(name, readWithLibjpeg(readData(name))).first;
    return it->second;
}

// Number of blocks that differ from the oracle; the first difference goes to the message.
int compareWithOracle(const JpegFile& f, std::vector<CoefPlane>& planes, const OracleCoefs& o, std::string& first)
{
    int bad = 0;
    for (size_t c = 0; c < f.components.size(); ++c) {
        EXPECT_EQ(o.cols[c], f.blockCols(static_cast<int>(c)));
        EXPECT_EQ(o.rows[c], f.blockRows(static_cast<int>(c)));
        for (int y = 0; y < o.rows[c]; ++y)
            for (int x = 0; x < o.cols[c]; ++x) {
                const Lum16s* got = planes[c].block(x, y);
                const JCOEF* want = &o.coef[c][(static_cast<size_t>(y) * o.cols[c] + x) * 64];
                for (int i = 0; i < 64; ++i)
                    if (got[i] != want[i]) {
                        if (bad++ == 0)
                            first = "component " + std::to_string(c) + " block " + std::to_string(x) + "," +
                                    std::to_string(y) + " coefficient " + std::to_string(i) + ": " +
                                    std::to_string(got[i]) + " vs " + std::to_string(want[i]);
                        break;
                    }
            }
    }
    return bad;
}

class HuffDecOracle : public TierTest {};

TEST_P(HuffDecOracle, EveryScanOfEveryFileMatchesLibjpeg)
{
    for (const char* name : kFiles) {
        SCOPED_TRACE(name);
        const JpegFile f = parseJpeg(readData(name));
        DecodeReport report;
        std::vector<CoefPlane> planes = decodeAllScans(f, report);
        EXPECT_EQ(report.firstProblem, "");
        std::string first;
        EXPECT_EQ(compareWithOracle(f, planes, oracleFor(name), first), 0) << first;
    }
}

// Windows of 1 to 40 bytes, moved on after every call: bits carry over in the state from one
// buffer to the next, and a call that runs out is repeated with a wider window.
TEST_P(HuffDecOracle, ManySmallBuffersDecodeLikeOne)
{
    for (const char* name : {"gen_q85_420_restart1row.jpg", "gen_jpegtran_scans_refine.jpg",
                             "gen_q85_420_progressive_restart1row.jpg", "gen_noise_q100_444.jpg",
                             "gen_size_227x149_444.jpg"}) {
        SCOPED_TRACE(name);
        const JpegFile f = parseJpeg(readData(name));
        DecodeReport one, many;
        std::vector<CoefPlane> whole = decodeAllScans(f, one);
        std::vector<CoefPlane> pieces = decodeAllScans(f, many, 17 + static_cast<uint32_t>(slot()));
        EXPECT_EQ(many.firstProblem, "");
        EXPECT_EQ(one.blocks, many.blocks);
        for (size_t c = 0; c < whole.size(); ++c) EXPECT_TRUE(whole[c].coef == pieces[c].coef) << "component " << c;
        std::string first;
        EXPECT_EQ(compareWithOracle(f, pieces, oracleFor(name), first), 0) << first;
    }
}

// The hand-written tables of the other tests are T.81's, as the files carry them.
TEST(HuffDecOracleTables, FilesCarryTheStandardLuminanceTables)
{
    const JpegFile f = parseJpeg(readData("gen_q85_420.jpg"));
    ASSERT_TRUE(f.scans[0].dc[0] && f.scans[0].ac[0]);
    EXPECT_TRUE(f.scans[0].dc[0]->bits == dcLuminance().bits);
    EXPECT_TRUE(f.scans[0].dc[0]->vals == dcLuminance().vals);
    EXPECT_TRUE(f.scans[0].ac[0]->bits == acLuminance().bits);
    EXPECT_TRUE(f.scans[0].ac[0]->vals == acLuminance().vals);
}

LUM_ALL_TIERS(HuffDecOracle);

}  // namespace
