#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "net/http_test_server.h"
#include "platform/toolkit/font_registry.h"
#include "runtime/buffers.h"
#include "ui/font_manager.h"
#include "ui/font_source.h"
#include "ui/node_text.h"
#include "ui/ui_test_support.h"

namespace talvero {
namespace {

using toolkit::Font;

const std::filesystem::path kDejaVu = "/usr/share/fonts/truetype/dejavu";

std::vector<uint8_t> bytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> dejaVu(const std::string& name) {
  return bytesOf(kDejaVu / name);
}

TEST(FontSource, LocalPathsComeFromPlainPathsAndFileUrls) {
  EXPECT_EQ(localPathOf("/fonts/a.ttf"), "/fonts/a.ttf");
  EXPECT_EQ(localPathOf("fonts/a.ttf"), "fonts/a.ttf");
  EXPECT_EQ(localPathOf("file:///fonts/My%20Font.ttf"), "/fonts/My Font.ttf");
  EXPECT_EQ(localPathOf("FILE://localhost/fonts/a.ttf?v=2#x"), "/fonts/a.ttf");
  EXPECT_EQ(localPathOf("/odd:name/a.ttf"), "/odd:name/a.ttf");
  for (const char* refused :
       {"", "file://server/fonts/a.ttf", "file:fonts/a.ttf", "res://a.ttf",
        "data:font/ttf;base64,AAAA", "file:///bad%2", "file:///bad%zz1", "file:///nul%00.ttf"}) {
    EXPECT_EQ(localPathOf(refused), std::nullopt) << refused;
  }
  EXPECT_TRUE(isRemoteSource("https://example.com/a.ttf"));
  EXPECT_TRUE(isRemoteSource("http://example.com/a.ttf"));
  EXPECT_FALSE(isRemoteSource("httpx://example.com/a.ttf"));
  EXPECT_FALSE(isRemoteSource("/http://a.ttf"));
}

class FontManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  }
  FontManager& fonts = FontManager::shared();
};

TEST_F(FontManagerTest, AFaceIsFoundByItsExactKeyThenByThePlainFamilyRegisteredLast) {
  ASSERT_TRUE(fonts.registerFont("Brand", 700, std::nullopt, dejaVu("DejaVuSans-Bold.ttf")));
  ASSERT_TRUE(fonts.registerFont("Brand", std::nullopt, std::nullopt, dejaVu("DejaVuSerif.ttf")));
  ASSERT_TRUE(fonts.registerFont("Brand", 500, "italic", dejaVu("DejaVuSansMono-Oblique.ttf")));
  EXPECT_EQ(makeFont(14, 700, 0, "Brand").faceName(), "DejaVu Sans Bold");
  EXPECT_EQ(makeFont(14, 400, 0, "Brand").faceName(), "DejaVu Serif Book");
  EXPECT_EQ(makeFont(14, 500, 2, "Brand").faceName(), "DejaVu Sans Mono Oblique");
  // No key of their own: the plain family, which is the face registered last.
  EXPECT_EQ(makeFont(14, 300, 0, "Brand").faceName(), "DejaVu Sans Mono Oblique");
  // Keys are exact: another spelling of the family is not registered (it is not installed).
  EXPECT_EQ(fonts.lookup("brand", 700, 0), std::nullopt);
  EXPECT_EQ(makeFont(30, 700, 0, "Brand").size(), 30);
}

TEST_F(FontManagerTest, AFaceKeepsItsOwnWeightAndSlantsThroughTheToolkit) {
  ASSERT_TRUE(
      fonts.registerFont("Heavy", std::nullopt, std::nullopt, dejaVu("DejaVuSerif-Bold.ttf")));
  EXPECT_EQ(makeFont(14, 100, 0, "Heavy").weight(), 700);
  EXPECT_EQ(makeFont(14, 400, 2, "Heavy").faceName(), "DejaVu Serif Bold Italic");
}

TEST_F(FontManagerTest, WithoutARegisteredFaceAnInstalledFamilyOrTheSystemFontIsUsed) {
  EXPECT_EQ(makeFont(14, 600, 0, std::nullopt), Font::system(14, 600));
  for (int weight : {450, 800, 900}) {
    EXPECT_EQ(makeFont(14, weight, 0, std::nullopt), Font::system(14, 400)) << weight;
  }
  EXPECT_EQ(makeFont(16, 700, 0, "No Such Family Anywhere"), Font::system(16, 700));
  const Font installed = makeFont(16, 700, 0, "dejavu serif");
  EXPECT_EQ(installed.family(), "DejaVu Serif");
  EXPECT_EQ(installed.weight(), 400);  // a named font stays as it is
  EXPECT_TRUE(makeFont(14, 400, 2, std::nullopt).isItalic());
  EXPECT_FALSE(makeFont(14, 400, 1, std::nullopt).isItalic());
}

// `_creatorUI.registerFont` from scripts, reporting "ok" or "error: <text>".
class RegisterFontTest : public testing::UIEngineTest {
 protected:
  void SetUp() override {
    UIEngineTest::SetUp();
    directory =
        std::filesystem::temp_directory_path() / ("talvero-fonts-" + std::to_string(::getpid()));
    std::filesystem::create_directories(directory);
  }
  void TearDown() override { std::filesystem::remove_all(directory); }

  void registerFrom(const std::string& family, const std::string& source,
                    const std::string& options = "undefined") {
    engine.run("_creatorUI.registerFont('" + family + "', " + source + ", " + options +
               ", () => record('ok'), (e) => record('error: ' + e));");
  }
  static std::string quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

  std::filesystem::path directory;
};

TEST_F(RegisterFontTest, TheSameFileTwiceSucceedsBothTimesOnALaterTurn) {
  const auto path = kDejaVu / "DejaVuSansMono-BoldOblique.ttf";
  registerFrom("Twice", quoted(path));
  registerFrom("Twice", quoted(path));
  EXPECT_TRUE(records.empty());
  ASSERT_TRUE(waitForRecords(2));
  EXPECT_EQ(records, (std::vector<std::string>{"ok", "ok"}));
  EXPECT_EQ(toolkit::registerFontData(bytesOf(path)).status,
            toolkit::FontRegistration::Status::AlreadyRegistered);
  EXPECT_EQ(makeFont(14, 400, 0, "Twice").faceName(), "DejaVu Sans Mono Bold Oblique");
}

TEST_F(RegisterFontTest, ALateFontReachesTextAlreadyOnScreen) {
  openTree(
      "{type: 'screen', _style: {alignItems: 'flex-start'}, children: ["
      "{type: 'text', _text: 'iiiiiiiiii'}, {type: 'text', _text: 'iiiiiiiiii'}]}");
  NodeText& branded = nodeAt<NodeText>("tree.children[0]");
  NodeText& plain = nodeAt<NodeText>("tree.children[1]");
  branded.setFontFamily("Late Mono");
  branded.reloadFont();
  dispatch::pumpFor(0.05);
  const double systemWidth = plain.frame().size.width;
  ASSERT_GT(systemWidth, 0);
  EXPECT_EQ(branded.frame().size.width, systemWidth);  // unknown yet: the system font

  std::filesystem::copy_file(kDejaVu / "DejaVuSansMono.ttf", directory / "late mono.ttf");
  registerFrom("Late Mono", "'file://" + (directory / "late%20mono.ttf").string() + "'");
  ASSERT_TRUE(waitForRecords(1));
  EXPECT_EQ(records[0], "ok");
  dispatch::pumpFor(0.05);
  EXPECT_EQ(branded.cachedFont().family(), "DejaVu Sans Mono");
  EXPECT_GT(branded.frame().size.width, systemWidth * 1.5);
  EXPECT_EQ(plain.frame().size.width, systemWidth);
}

TEST_F(RegisterFontTest, BufferBytesRegisterUnderTheWeightAndStyleOfTheOptions) {
  const int64_t serif = engine.putBuffer(makeBytes(dejaVu("DejaVuSerif-BoldItalic.ttf")));
  const int64_t sans = engine.putBuffer(makeBytes(dejaVu("DejaVuSans-ExtraLight.ttf")));
  const int64_t mono = engine.putBuffer(makeBytes(dejaVu("DejaVuSansMono.ttf")));
  registerFrom("Buffered", std::to_string(serif), "{weight: 700, style: 'italic'}");
  // Options of the wrong type count as missing: weight 400, style normal.
  registerFrom("Buffered", std::to_string(sans), "{weight: '300', style: 2}");
  registerFrom("Buffered", std::to_string(mono), "{weight: 900}");
  ASSERT_TRUE(waitForRecords(3));
  EXPECT_EQ(records, (std::vector<std::string>{"ok", "ok", "ok"}));
  EXPECT_EQ(makeFont(14, 700, 2, "Buffered").faceName(), "DejaVu Serif Bold Italic");
  EXPECT_EQ(makeFont(14, 400, 0, "Buffered").faceName(), "DejaVu Sans ExtraLight");
  EXPECT_EQ(makeFont(14, 300, 0, "Buffered").faceName(), "DejaVu Sans Mono Book");
  EXPECT_NE(Buffers::get(serif), nullptr);  // registering reads, it does not consume
}

TEST_F(RegisterFontTest, EverySourceWithoutAFontFailsWithTheFamilyName) {
  std::ofstream(directory / "notes.ttf") << "not a font at all";
  ::testing::internal::CaptureStdout();
  registerFrom("Missing", quoted(directory / "missing.ttf"));
  registerFrom("Garbage", quoted(directory / "notes.ttf"));
  registerFrom("Remote", "'http://exa mple.com/fonts/remote.ttf'");  // not a URL
  registerFrom("Elsewhere", "'file://server/fonts/a.ttf'");
  registerFrom("No Buffer", "987654");
  registerFrom("Object", "{path: '/x.ttf'}");
  ASSERT_TRUE(waitForRecords(6));
  const std::string output = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(records, (std::vector<std::string>{
                         "error: registerFont failed: Missing",
                         "error: registerFont failed: Garbage",
                         "error: registerFont failed: Remote",
                         "error: registerFont failed: Elsewhere",
                         "error: registerFont failed: No Buffer",
                         "error: registerFont failed: Object",
                     }));
  EXPECT_EQ(FontManager::shared().lookup("Missing", 400, 0), std::nullopt);
}

TEST_F(RegisterFontTest, FontsComeOverHttpAndAFailedDownloadIsAnError) {
  testing::HttpTestServer server;
  const std::vector<uint8_t> mono = dejaVu("DejaVuSansMono.ttf");
  server.on("/mono.ttf", [&](SoupServerMessage* message) {
    testing::respond(message, 200,
                     std::string_view(reinterpret_cast<const char*>(mono.data()), mono.size()));
  });
  registerFrom("Downloaded", "'" + server.url("/mono.ttf") + "'");
  ASSERT_TRUE(waitForRecords(1));
  registerFrom("Not Found", "'" + server.url("/missing.ttf") + "'");
  ASSERT_TRUE(waitForRecords(2));
  EXPECT_EQ(records, (std::vector<std::string>{"ok", "error: registerFont failed: Not Found"}));
  EXPECT_EQ(makeFont(14, 400, 0, "Downloaded").faceName(), "DejaVu Sans Mono Book");
}

}  // namespace
}  // namespace talvero
