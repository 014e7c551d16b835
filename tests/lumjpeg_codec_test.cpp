// The codec against libjpeg-turbo in both directions. Files that lumjpeg writes over a matrix of
// settings and sizes must decode in djpeg without a warning, as well as cjpeg's files at the same
// settings, and must carry the frame, tables and scans meant (djpeg's trace, jpegtran, identify).
// Files of the corpus must decode as libjpeg decodes them (accurate integer DCT, no smoothing),
// unsupported ones must be refused by name, and damaged input must end in an error or an image.
#include <gtest/gtest.h>

#include <jpeglib.h>

#include <csetjmp>
#include <cmath>
#include <random>

#include "codec.h"
#include "image.h"
#include "jpeg_markers.h"
#include "lumjpeg_test_support.h"
#include "std_tables.h"
#include "test_support.h"
#include "tier_fixture.h"

namespace {

using namespace lumjpegtest;
using lumjpeg::Image;
using lumjpeg::Sampling;

const Image& photo()
{
    static const Image p = readPnmFile(demoPhoto());
    return p;
}

// A w x h window of the photo, mirrored at its edges where the window is larger than the photo.
Image sceneOfSize(int w, int h, int channels)
{
    const Image& src = photo();
    Image out(w, h, channels);
    const auto fold = [](int i, int n) {
        i %= 2 * n;
        return i < n ? i : 2 * n - 1 - i;
    };
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const uint8_t* p = src.row(fold(y + 37, src.height)) + 3 * fold(x + 53, src.width);
            uint8_t* q = out.row(y) + channels * x;
            if (channels == 3) {
                q[0] = p[0], q[1] = p[1], q[2] = p[2];
            } else {
                q[0] = static_cast<uint8_t>((299 * p[0] + 587 * p[1] + 114 * p[2] + 500) / 1000);
            }
        }
    }
    return out;
}

// ---- libjpeg as the decoding oracle: accurate integer IDCT, no smoothing of the up-sampling ------

struct JpegErrorJump {
    jpeg_error_mgr pub;
    jmp_buf jump;
    int warnings = 0;
};

void onJpegError(j_common_ptr cinfo) { longjmp(reinterpret_cast<JpegErrorJump*>(cinfo->err)->jump, 1); }
void onJpegMessage(j_common_ptr cinfo, int level)
{
    if (level < 0) ++reinterpret_cast<JpegErrorJump*>(cinfo->err)->warnings;
}

bool libjpegDecode(const std::vector<uint8_t>& bytes, Image* out)
{
    jpeg_decompress_struct cinfo;
    JpegErrorJump err;
    cinfo.err = jpeg_std_error(&err.pub);
    err.pub.error_exit = onJpegError;
    err.pub.emit_message = onJpegMessage;
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&cinfo, TRUE);
    cinfo.dct_method = JDCT_ISLOW;
    cinfo.do_fancy_upsampling = FALSE;
    if (cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK)
        cinfo.out_color_space = JCS_CMYK;
    jpeg_start_decompress(&cinfo);
    *out = Image(static_cast<int>(cinfo.output_width), static_cast<int>(cinfo.output_height),
                 cinfo.output_components);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = out->row(static_cast<int>(cinfo.output_scanline));
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return err.warnings == 0;
}

// ---- The encoding matrix ---------------------------------------------------------------------------

struct EncodeCase {
    int width, height, channels;
    int quality;
    Sampling sampling;
    bool progressive, optimize;
    int restart;
};

std::string describe(const EncodeCase& c)
{
    const char* s = c.sampling == Sampling::S444 ? "444" : c.sampling == Sampling::S422 ? "422" : "420";
    return std::to_string(c.width) + "x" + std::to_string(c.height) + (c.channels == 1 ? " grey" : " ") +
           (c.channels == 1 ? "" : s) + " q" + std::to_string(c.quality) +
           (c.progressive ? " progressive" : "") + (c.optimize ? " optimize" : "") +
           (c.restart ? " restart " + std::to_string(c.restart) : "");
}

std::vector<EncodeCase> encodeMatrix()
{
    std::vector<EncodeCase> cases;
    const int sizes[][2] = {{1, 1}, {7, 9}, {17, 13}, {227, 149}, {1000, 667}};
    const Sampling samplings[] = {Sampling::S444, Sampling::S422, Sampling::S420};
    for (const auto& sz : sizes) {
        for (int i = 0; i < 3; ++i) {
            cases.push_back({sz[0], sz[1], 3, 85, samplings[i], false, false, 0});
            cases.push_back({sz[0], sz[1], 3, i == 0 ? 95 : 50, samplings[i], true, true, i == 2 ? 3 : 0});
        }
        cases.push_back({sz[0], sz[1], 3, 75, Sampling::S420, false, true, 2});
        cases.push_back({sz[0], sz[1], 1, 90, Sampling::S444, false, false, 0});
        cases.push_back({sz[0], sz[1], 1, 60, Sampling::S444, true, true, 5});
    }
    cases.push_back({227, 149, 3, 100, Sampling::S444, false, true, 0});
    cases.push_back({227, 149, 3, 1, Sampling::S420, false, false, 1});
    cases.push_back({227, 149, 3, 100, Sampling::S420, true, true, 0});
    return cases;
}

std::string cjpegOptions(const EncodeCase& c)
{
    std::string o = "-dct int -quality " + std::to_string(c.quality);
    if (c.channels == 3)
        o += c.sampling == Sampling::S444   ? " -sample 1x1"
             : c.sampling == Sampling::S422 ? " -sample 2x1"
                                            : " -sample 2x2";
    if (c.progressive) o += " -progressive";
    if (c.optimize) o += " -optimize";
    if (c.restart) o += " -restart " + std::to_string(c.restart) + "B";
    return o;
}

// djpeg's default decoding of a file, which must succeed without a single message.
Image djpegClean(const std::string& jpeg, const std::string& out)
{
    const CommandResult r = run("djpeg -outfile " + quoted(out) + " " + quoted(jpeg));
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.output, "") << "djpeg printed a message";
    return readPnmFile(out);
}

// The codec runs in the tier that the probe picks for this processor, as the program does.
class Probed {
public:
    Probed() { lumStaticInit(); }
};

class LumjpegEncode : public ::testing::TestWithParam<EncodeCase>, private Probed {};

TEST_P(LumjpegEncode, DecodesInDjpegAsWellAsCjpegsFileAndCarriesTheMeantSegments)
{
    const EncodeCase c = GetParam();
    ScratchDir dir("encode");
    const Image source = sceneOfSize(c.width, c.height, c.channels);
    const std::string src = dir.file(c.channels == 1 ? "src.pgm" : "src.ppm");
    lumjpeg::writeFile(src, lumjpeg::formatPnm(source));

    lumjpeg::EncodeOptions options;
    options.quality = c.quality;
    options.sampling = c.sampling;
    options.progressive = c.progressive;
    options.optimize = c.optimize;
    options.restartInterval = c.restart;
    const std::string mine = dir.file("mine.jpg"), theirs = dir.file("theirs.jpg");
    lumjpeg::writeFile(mine, lumjpeg::encodeJpeg(source, options));
    ASSERT_EQ(run("cjpeg " + cjpegOptions(c) + " -outfile " + quoted(theirs) + " " + quoted(src)).exitCode,
              0);

    const double psnrMine = lumjpeg::psnr(source, djpegClean(mine, dir.file("mine.pnm")));
    const double psnrTheirs = lumjpeg::psnr(source, djpegClean(theirs, dir.file("theirs.pnm")));
    EXPECT_GE(psnrMine, psnrTheirs - 0.5) << "lumjpeg " << psnrMine << " dB, cjpeg " << psnrTheirs << " dB";

    // jpegtran rewrites the file from its parsed segments and coefficients without complaint.
    const CommandResult copy = run("jpegtran -copy all -outfile /dev/null " + quoted(mine));
    EXPECT_EQ(copy.exitCode, 0);
    EXPECT_EQ(copy.output, "");

    // djpeg's trace shows the frame, the sampling, the restart interval and the scans meant.
    const std::string trace = run("djpeg -verbose -outfile /dev/null " + quoted(mine)).output;
    EXPECT_NE(trace.find(std::string("Start Of Frame 0x") + (c.progressive ? "c2" : "c0") +
                         ": width=" + std::to_string(c.width) + ", height=" + std::to_string(c.height) +
                         ", components=" + std::to_string(c.channels)),
              std::string::npos)
        << trace;
    const char* lumaSampling = c.channels == 1 || c.sampling == Sampling::S444 ? "1hx1v"
                               : c.sampling == Sampling::S422                  ? "2hx1v"
                                                                               : "2hx2v";
    EXPECT_NE(trace.find(std::string("Component 1: ") + lumaSampling + " q=0"), std::string::npos) << trace;
    if (c.channels == 3) {
        EXPECT_NE(trace.find("Component 3: 1hx1v q=1"), std::string::npos) << trace;
    }
    EXPECT_EQ(trace.find("Define Restart Interval " + std::to_string(c.restart)) != std::string::npos,
              c.restart != 0);
    std::vector<std::string> scans;
    for (const std::string& line : lines(trace))
        if (line.find("Ss=") != std::string::npos) scans.push_back(line.substr(line.find("Ss=")));
    std::vector<std::string> meant;
    if (c.progressive) {
        for (const lumjpeg::ScanSpec& s : lumjpeg::progressiveScript(c.channels))
            meant.push_back("Ss=" + std::to_string(s.ss) + ", Se=" + std::to_string(s.se) +
                            ", Ah=" + std::to_string(s.ah) + ", Al=" + std::to_string(s.al));
    } else {
        meant.push_back("Ss=0, Se=63, Ah=0, Al=0");
    }
    EXPECT_EQ(scans, meant);

    // identify reads the same geometry, sampling and interlace, and recognises the quality of the tables.
    const std::string id =
        run("identify -format '%w %h %[jpeg:sampling-factor] %[interlace] %Q\\n' " + quoted(mine)).output;
    const std::string sampling = c.channels == 1 ? "1x1"
                                                 : std::string(lumaSampling).substr(0, 1) + "x" +
                                                       std::string(lumaSampling).substr(3, 1) + ",1x1,1x1";
    EXPECT_EQ(id, std::to_string(c.width) + " " + std::to_string(c.height) + " " + sampling + " " +
                      (c.progressive ? "JPEG" : "None") + " " + std::to_string(c.quality) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Matrix, LumjpegEncode, ::testing::ValuesIn(encodeMatrix()),
                         [](const ::testing::TestParamInfo<EncodeCase>& info) {
                             std::string n = describe(info.param);
                             for (char& ch : n)
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             return n;
                         });

// ---- The decoder against libjpeg on the corpus -----------------------------------------------------

class LumjpegDecode : public ::testing::Test, private Probed {};

TEST_F(LumjpegDecode, EveryValidFileDecodesAsLibjpegDecodesIt)
{
    const std::vector<CorpusFile> files = corpus("ok");
    ASSERT_GE(files.size(), 50u);
    for (const CorpusFile& f : files) {
        SCOPED_TRACE(f.path);
        const std::vector<uint8_t> bytes = lumjpeg::readFile(f.path);
        Image reference;
        ASSERT_TRUE(libjpegDecode(bytes, &reference));
        const lumjpeg::DecodeResult mine = lumjpeg::decodeJpeg(bytes.data(), bytes.size());
        EXPECT_TRUE(mine.warnings.empty()) << mine.warnings.front();
        ASSERT_EQ(mine.image.width, reference.width);
        ASSERT_EQ(mine.image.height, reference.height);
        ASSERT_EQ(mine.image.channels, reference.channels);
        const double p = lumjpeg::psnr(mine.image, reference);
        const int maxDiff = lumjpeg::maxDifference(mine.image, reference);
        RecordProperty(f.name, std::to_string(p) + " dB, max " + std::to_string(maxDiff));
        const bool full = f["sampling"].find_first_not_of("1x,") == std::string::npos;
        EXPECT_GE(p, full ? 45.0 : 40.0) << "max difference " << maxDiff;
    }
}

TEST_F(LumjpegDecode, UnsupportedFilesAreRefusedByName)
{
    for (const CorpusFile& f : corpus("unsupported")) {
        SCOPED_TRACE(f.path);
        const std::vector<uint8_t> bytes = lumjpeg::readFile(f.path);
        try {
            lumjpeg::decodeJpeg(bytes.data(), bytes.size());
            ADD_FAILURE() << "decoded";
        } catch (const lumjpeg::Error& e) {
            EXPECT_EQ(std::string(e.what()).rfind("unsupported JPEG", 0), 0u) << e.what();
        }
    }
}

TEST_F(LumjpegDecode, DamagedFilesEndInAnErrorOrAnImage)
{
    int images = 0, errors = 0;
    for (const CorpusFile& f : corpus("corrupt")) {
        SCOPED_TRACE(f.path);
        const std::vector<uint8_t> bytes = lumjpeg::readFile(f.path);
        try {
            const lumjpeg::DecodeResult r = lumjpeg::decodeJpeg(guardedCopy(bytes)->data(), bytes.size());
            EXPECT_EQ(r.image.pixels.size(),
                      static_cast<size_t>(r.image.width) * r.image.height * r.image.channels);
            ++images;
        } catch (const lumjpeg::Error&) {
            ++errors;
        }
    }
    EXPECT_GT(images, 0);
    EXPECT_GT(errors, 0);
}

// Truncated, bit-flipped and random streams, read from the edge of a guarded page.
TEST_F(LumjpegDecode, TruncatedFlippedAndRandomStreamsNeverCrash)
{
    std::mt19937 rng(11);
    int images = 0, errors = 0;
    const auto attempt = [&](const std::vector<uint8_t>& b) {
        try {
            lumjpeg::decodeJpeg(guardedCopy(b)->data(), b.size());
            ++images;
        } catch (const lumjpeg::Error&) {
            ++errors;
        }
    };
    for (const char* name : {"gen_size_227x149_420.jpg", "gen_noise_q100_444_progressive.jpg",
                             "gen_q85_420_progressive_restart1row.jpg", "gen_gray_q60_restart3mcu.jpg",
                             "gen_cmyk_q90_restart1row.jpg"}) {
        const std::vector<uint8_t> bytes = lumjpeg::readFile(testDataDir() + "/" + name);
        for (int i = 0; i < 12; ++i)
            attempt(
                std::vector<uint8_t>(bytes.begin(), bytes.begin() + static_cast<long>(rng() % bytes.size())));
        for (int i = 0; i < 24; ++i) {
            std::vector<uint8_t> b = bytes;
            for (int k = 0; k < 1 + i % 5; ++k)
                b[rng() % b.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
            attempt(b);
        }
    }
    for (int i = 0; i < 40; ++i) {
        std::vector<uint8_t> b = lumjpeg::readFile(testDataDir() + "/gen_size_33x17_420.jpg");
        for (size_t k = 300 + rng() % 200; k < b.size(); ++k) b[k] = static_cast<uint8_t>(rng());
        attempt(b);
    }
    EXPECT_GT(images, 0);
    EXPECT_GT(errors, 0);
}

// ---- Every tier drives the same codec ----------------------------------------------------------------

class LumjpegTiers : public lumtest::TierTest {};

TEST_P(LumjpegTiers, EncodedFilesDecodeInDjpegAndCorpusFilesDecodeAsLibjpegDoes)
{
    ScratchDir dir("tiers");
    const Image source = sceneOfSize(227, 149, 3);
    for (bool progressive : {false, true}) {
        lumjpeg::EncodeOptions o;
        o.progressive = progressive;
        o.restartInterval = 4;
        const std::string mine = dir.file("mine.jpg");
        lumjpeg::writeFile(mine, lumjpeg::encodeJpeg(source, o));
        EXPECT_GT(lumjpeg::psnr(source, djpegClean(mine, dir.file("mine.ppm"))), 30.0);
    }
    for (const char* name : {"gen_q85_444_progressive.jpg", "gen_q85_420_restart1row.jpg", "gen_q75_440.jpg",
                             "gen_ycck_q85_2x2.jpg"}) {
        SCOPED_TRACE(name);
        const std::vector<uint8_t> bytes = lumjpeg::readFile(testDataDir() + "/" + name);
        Image reference;
        ASSERT_TRUE(libjpegDecode(bytes, &reference));
        EXPECT_GE(lumjpeg::psnr(lumjpeg::decodeJpeg(bytes.data(), bytes.size()).image, reference), 40.0);
    }
}

LUM_ALL_TIERS(LumjpegTiers);

// ---- The program -------------------------------------------------------------------------------------

TEST(LumjpegTool, EncodeDecodeAndExitStatuses)
{
    ScratchDir dir("tool");
    const std::string ppm = dir.file("in.ppm"), jpg = dir.file("out.jpg"), back = dir.file("back.ppm");
    lumjpeg::writeFile(ppm, lumjpeg::formatPnm(sceneOfSize(64, 48, 3)));
    EXPECT_EQ(run(lumjpegTool() + " encode " + ppm + " " + jpg + " --quality 90 --sampling 422 --restart 2")
                  .exitCode,
              0);
    EXPECT_EQ(run(lumjpegTool() + " decode " + jpg + " " + back).exitCode, 0);
    EXPECT_EQ(readPnmFile(back).width, 64);
    const CommandResult bad = run(lumjpegTool() + " encode " + ppm + " " + jpg + " --quality 0");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(lines(bad.output).size(), 1u);
    const CommandResult unsupported =
        run(lumjpegTool() + " decode " + testDataDir() + "/unsupported/gen_arith_q85_420.jpg " + back);
    EXPECT_EQ(unsupported.exitCode, 1);
    EXPECT_EQ(unsupported.output, "lumjpeg: unsupported JPEG process: arithmetic coding (SOF9)\n");
    const CommandResult damaged =
        run(lumjpegTool() + " decode " + testDataDir() + "/corrupt/gen_bad_trunc_half_entropy.jpg " + back);
    EXPECT_EQ(damaged.exitCode, 2) << damaged.output;
    EXPECT_NE(damaged.output.find("lumjpeg: warning: "), std::string::npos);
}

}  // namespace
