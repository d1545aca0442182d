#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "app/app_launch.h"
#include "engine/engine.h"
#include "runtime/log.h"
#include "scratch_dir.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

// A scratch directory holding a "bundle" and a "bin" folder.
class TempDirTest : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    fs::create_directories(root / "bundle");
    fs::create_directories(root / "bin");
  }

  std::string bundle() const { return (root / "bundle").string(); }
  std::string bin() const { return (root / "bin").string(); }
};

// ---- Arguments

TEST(LaunchArguments, ScriptsAndUrlsCountButNotOptionsOrTheProcessName) {
  EXPECT_EQ(launchArgument({"talvero", "-x.js", "--verify", "x.js"}, "", ""), "x.js");
  EXPECT_EQ(launchArgument({"/apps/first.js", "-x.js", "notes.txt"}, "", ""), "");
  EXPECT_EQ(launchArgument({"talvero", "a", "b", "c", "late/x.js"}, "", ""), "late/x.js");
  EXPECT_EQ(launchArgument({"talvero", "-http://h/", "https://h/app"}, "", ""), "https://h/app");
  EXPECT_EQ(launchArgument({"talvero", "http://h/app?x=1"}, "", ""), "http://h/app?x=1");
  EXPECT_FALSE(isLaunchArgument("app.JS"));
  EXPECT_FALSE(isLaunchArgument("ftp://h/app.j"));
  EXPECT_FALSE(isLaunchArgument("app.jsx"));
}

TEST(LaunchArguments, OnlyTheFirstMatchIsTheLaunchArgument) {
  EXPECT_EQ(launchArgument({"talvero", "one.js", "https://h/two", "three.js"}, "", ""), "one.js");
  EXPECT_EQ(launchArgument({"talvero", "https://h/one", "two.js"}, "", ""), "https://h/one");
}

TEST(LaunchArguments, VerifyFlagsAreComparedWholeAndTheLauncherTestWins) {
  LaunchFlags flags = readLaunchFlags({"talvero", "--verify", "--verify-launcher"});
  EXPECT_TRUE(flags.verify);
  EXPECT_TRUE(flags.verifyLauncher);
  flags = readLaunchFlags({"talvero", "--verify=1", "--verify-launcher2", "-verify", "VERIFY"});
  EXPECT_FALSE(flags.verify);
  EXPECT_FALSE(flags.verifyLauncher);
  EXPECT_FALSE(readLaunchFlags({"--verify"}).verify);  // the process name is no argument
}

using LaunchFallbacks = TempDirTest;

TEST_F(LaunchFallbacks, AppBesideTheExecutableComesBeforeTheBundlesAndAfterArguments) {
  EXPECT_EQ(launchArgument({"talvero"}, bin(), bundle()), "");
  write("bundle/app.js", "bundled");
  EXPECT_EQ(launchArgument({"talvero"}, bin(), bundle()), "app.js");
  write("bin/app.js", "beside");
  EXPECT_EQ(launchArgument({"talvero"}, bin(), bundle()), (root / "bin/app.js").string());
  EXPECT_EQ(launchArgument({"talvero", "given.js"}, bin(), bundle()), "given.js");
}

// ---- Preloads and argument text

TEST(Preloads, EntriesAreSplitTrimmedAndTakenFromTheFirstMarkerLineOnly) {
  EXPECT_EQ(parsePreloads("// preload: a.glb ; b.glb\n"), (Args{"a.glb", "b.glb"}));
  EXPECT_EQ(parsePreloads("var x = 1;\nrun(); // preload:\tm/a.glb;; ;c.ktx \r\nmore"),
            (Args{"m/a.glb", "c.ktx"}));
  EXPECT_EQ(parsePreloads("// preload: first.glb\n// preload: second.glb"), (Args{"first.glb"}));
  EXPECT_EQ(parsePreloads("// preload: last line.glb"), (Args{"last line.glb"}));
  EXPECT_TRUE(parsePreloads("// preload: ; ;\n// preload: late.glb").empty());
  EXPECT_TRUE(parsePreloads("// Preload: a.glb\n//preload: b.glb").empty());
  EXPECT_EQ(preloadList({"a.glb", "b\"c"}), "\"a.glb\",\"b\"c\"");
  EXPECT_EQ(preloadList({}), "");
}

TEST(ArgumentText, IsJsonOfEveryArgumentOrAnEmptyArrayForBadUtf8) {
  EXPECT_EQ(argvJson({"/bin/talvero", "a \"b\"\\c", "line\nnext\x01", "ünï·"}),
            "[\"/bin/talvero\",\"a \\\"b\\\"\\\\c\",\"line\\nnext\\u0001\",\"ünï·\"]");
  EXPECT_EQ(argvJson({}), "[]");
  EXPECT_EQ(argvJson({"talvero", "bad\xff"}), "[]");
}

// ---- Platform facts

TEST(Language, ComesFromTheFirstSetLocaleVariableCutToItsLanguageCode) {
  auto language = [](std::map<std::string, std::string> env) {
    return languageFromLocale([env](const std::string& name) -> std::optional<std::string> {
      const auto it = env.find(name);
      if (it == env.end()) return std::nullopt;
      return it->second;
    });
  };
  EXPECT_EQ(language({{"LANG", "fr_CA.UTF-8"}}), "fr");
  EXPECT_EQ(language({{"LANGUAGE", "de_AT:fr"}, {"LC_ALL", "it_IT"}, {"LANG", "es"}}), "de");
  EXPECT_EQ(language({{"LANGUAGE", ""}, {"LC_ALL", "it_IT"}, {"LANG", "es"}}), "it");
  EXPECT_EQ(language({{"LC_MESSAGES", "pt_BR@latin"}, {"LANG", "es"}}), "pt");
  EXPECT_EQ(language({{"LANG", "Sv_SE"}}), "sv");
  EXPECT_EQ(language({{"LANG", "C.UTF-8"}}), "en");
  EXPECT_EQ(language({{"LC_ALL", "POSIX"}, {"LANG", "fr_FR"}}), "en");
  EXPECT_EQ(language({{"LANG", "_FR"}}), "en");
  EXPECT_EQ(language({}), "en");
}

TEST(SystemFacts, DescribeThisLinuxMachine) {
  EXPECT_EQ(kernelMajorMinor("6.1.0-13-amd64"), "6.1");
  EXPECT_EQ(kernelMajorMinor("6.18.44-fc-v769"), "6.18");
  EXPECT_EQ(kernelMajorMinor("5.10"), "5.10");
  EXPECT_EQ(kernelMajorMinor("4"), "4");
  EXPECT_EQ(kernelMajorMinor("rolling"), "rolling");

  utsname name{};
  ASSERT_EQ(::uname(&name), 0);
  const SystemFacts facts = systemFacts();
  EXPECT_EQ(facts.platform, "Linux " + kernelMajorMinor(name.release));
  EXPECT_EQ(facts.arch, name.machine);
  EXPECT_EQ(facts.cpuCores, ::sysconf(_SC_NPROCESSORS_ONLN));
}

// ---- The resource bundle

using AppBundle = TempDirTest;

TEST_F(AppBundle, GivenDirectoryWinsThenTheOneBesideTheExecutableThenTheBuildTimePath) {
  fs::create_directories(root / "bin" / kAppBundleName);
  fs::create_directories(root / "installed");
  const std::string installed = (root / "installed").string();
  EXPECT_EQ(resolveAppBundle(bundle(), bin(), installed), bundle());
  EXPECT_EQ(resolveAppBundle("", bin(), installed), (root / "bin" / kAppBundleName).string());
  EXPECT_EQ(resolveAppBundle("", (root / "elsewhere").string(), installed), installed);
}

TEST_F(AppBundle, NoBundleStopsTheProcessNamingBothPlaces) {
  const std::string missing = (root / "missing").string();
  EXPECT_EXIT(
      resolveAppBundle("", bin(), missing), ::testing::ExitedWithCode(kFatalExitStatus),
      "could not load resource bundle: from " + bin() + "/" + kAppBundleName + " or " + missing);
  EXPECT_EXIT(resolveAppBundle(missing, bin(), bundle()),
              ::testing::ExitedWithCode(kFatalExitStatus),
              "could not load resource bundle: from " + missing);
}

TEST_F(AppBundle, LocalFilesComeFromTheBundleThenFromThePathItself) {
  write("bundle/models/ship.glb", "ship");
  const fs::path outside = write("outside/notes.txt", "notes");
  auto text = [](const Bytes& bytes) {
    return bytes ? std::string(bytes->begin(), bytes->end()) : "<none>";
  };
  EXPECT_EQ(text(readLocalFile(bundle(), "models/ship.glb")), "ship");
  EXPECT_EQ(text(readLocalFile(bundle(), outside.string())), "notes");
  EXPECT_EQ(text(readLocalFile(bundle(), "models/none.glb")), "<none>");
  EXPECT_EQ(text(readLocalFile(bundle(), "models")), "<none>");  // a directory is no file
}

// ---- The launch sequence on a real engine, without a window

class LaunchSequence : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    engine.registerCallback("record", [this](const std::vector<ScriptValue>& args) -> NativeValue {
      records.push_back(args.empty() ? "" : args[0].toString());
      return {};
    });
  }

  std::unique_ptr<AppLaunch> makeLaunch(Args argv) {
    return std::make_unique<AppLaunch>(engine, bundle(), std::move(argv), bin());
  }

  std::string output(const std::function<void()>& action) {
    ::testing::internal::CaptureStdout();
    action();
    return ::testing::internal::GetCapturedStdout();
  }

  TalveroEngine engine;
  std::vector<std::string> records;
};

constexpr const char* kRecordingLauncher =
    "function launch(argv) { record(JSON.stringify(argv)); }";

TEST_F(LaunchSequence, ProvenanceIsTheFirstOutputAndSaysPhysicsIsOn) {
  auto launch = makeLaunch({"talvero"});
  EXPECT_EQ(output([&] { launch->wireEngine(); }),
            "[provenance] runtime 1.0.0 · creator-gl physics=on\n");
}

TEST_F(LaunchSequence, ProvenanceWarnsWhenTheSceneSideHasNoPhysics) {
  engine.run("_creator.physicsHasSupport = function () { return 0; };");
  auto launch = makeLaunch({"talvero"});
  EXPECT_EQ(output([&] { launch->wireEngine(); }),
            "[provenance] runtime 1.0.0 · creator-gl physics=OFF\n"
            "[provenance] WARNING: creator-gl reports NO physics support — a stale or DEBUG "
            "native slice (CREATOR_GL_PHYSICS off). 3D physics projects/playgrounds will not "
            "simulate.\n");
}

TEST_F(LaunchSequence, SystemInfoHasItsKeysInOrderAndTheWindowOnlyWithAContainer) {
  auto launch = makeLaunch({"talvero"});
  output([&] { launch->wireEngine(); });
  const SystemFacts facts = systemFacts();
  engine.run("record(JSON.stringify(_creatorUtils.systemInfo()));");
  EXPECT_EQ(records.back(), "{\"app\":\"1.0.0\",\"platform\":\"" + facts.platform +
                                "\",\"arch\":\"" + facts.arch +
                                "\",\"backend\":\"OpenGL (Filament)\"," +
                                "\"cpuCores\":" + std::to_string(facts.cpuCores) + "}");

  std::optional<toolkit::Size> size;
  launch->containerSize = [&size] { return size; };
  engine.run("record(JSON.stringify(_creatorUtils.systemInfo().window));");
  EXPECT_EQ(records.back(), "undefined");
  size = toolkit::Size{800.9, 599.5};
  engine.run("record(JSON.stringify(_creatorUtils.systemInfo().window));");
  EXPECT_EQ(records.back(), "{\"width\":800,\"height\":599}");
}

TEST_F(LaunchSequence, GetArgvIsTheLaunchArgumentAndReachesLaterProjects) {
  auto launch = makeLaunch({"talvero", "-x.js", "game.js", "other.js"});
  output([&] { launch->wireEngine(); });
  engine.openProject("record(_creatorUtils.getArgv());", {});
  EXPECT_EQ(records, (Args{"game.js"}));
}

TEST_F(LaunchSequence, LanguageAndLocalFilesAreWired) {
  write("bundle/data/level.json", "{\"level\":3}");
  const char* saved = std::getenv("LANGUAGE");
  const std::string savedLanguage = saved ? saved : "";
  ::setenv("LANGUAGE", "nb_NO:en", 1);
  auto launch = makeLaunch({"talvero"});
  output([&] { launch->wireEngine(); });
  if (saved) {
    ::setenv("LANGUAGE", savedLanguage.c_str(), 1);
  } else {
    ::unsetenv("LANGUAGE");
  }
  EXPECT_EQ(engine.creatorUtilsHandler().language, "nb");
  const Bytes bytes = engine.creatorUtilsHandler().onFetchLocal("data/level.json");
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(std::string(bytes->begin(), bytes->end()), "{\"level\":3}");
}

TEST_F(LaunchSequence, LaunchGetsTheWholeArgumentListWithTheProcessNameFirst) {
  write("bundle/launcher.js", kRecordingLauncher);
  auto launch = makeLaunch({"/usr/bin/talvero", "first.js", "-v", "second.js", "say \"hi\""});
  EXPECT_EQ(output([&] { launch->runLauncher(); }),
            "[TalveroApp] launch([\"/usr/bin/talvero\",\"first.js\",\"-v\",\"second.js\","
            "\"say \\\"hi\\\"\"])\n");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0],
            "[\"/usr/bin/talvero\",\"first.js\",\"-v\",\"second.js\",\"say \\\"hi\\\"\"]");
}

TEST_F(LaunchSequence, InitialScriptWinsAndLaunchIsNotCalled) {
  write("bundle/launcher.js", kRecordingLauncher);
  write("bundle/initial.js", "record('initial ran: ' + typeof launch);");
  auto launch = makeLaunch({"talvero", "-a.js", "b.js"});
  EXPECT_EQ(output([&] { launch->runLauncher(); }),
            "[TalveroApp] running initial.js (argv=\"b.js\")\n");
  EXPECT_EQ(records, (Args{"initial ran: undefined"}));
}

TEST_F(LaunchSequence, AnInitialScriptThatIsNotUtf8GivesWayToTheLauncher) {
  write("bundle/launcher.js", kRecordingLauncher);
  write("bundle/initial.js", "record('\xff');");
  auto launch = makeLaunch({"talvero"});
  EXPECT_EQ(output([&] { launch->runLauncher(); }), "[TalveroApp] launch([\"talvero\"])\n");
  EXPECT_EQ(records, (Args{"[\"talvero\"]"}));
}

TEST_F(LaunchSequence, WithoutScriptsTheHostSaysSoAndRunsNothing) {
  fs::create_directories(root / "bundle/launcher.js");  // unreadable as a file
  auto launch = makeLaunch({"talvero", "x.js"});
  EXPECT_EQ(output([&] { launch->runLauncher(); }),
            "[TalveroApp] no Resources/initial.js or launcher.js found\n");
  EXPECT_TRUE(records.empty());
}

TEST_F(LaunchSequence, BundleRunsAfterCreateEngineWithItsPreloads) {
  const std::string source = "// preload: a.glb ; b.glb\nrecord('bundle ran ·');\n";
  write("bundle/bundle.js", source);
  engine.run("_creator.createEngine = function (list) { record(JSON.stringify(list)); };");
  auto launch = makeLaunch({"talvero", "--verify"});
  EXPECT_EQ(output([&] { launch->runBundle(); }),
            "[TalveroApp] createEngine([\"a.glb\",\"b.glb\"])\n"
            "[TalveroApp] running bundle (" +
                std::to_string(source.size() - 1) +  // "·" is 2 bytes
                " chars)\n"
                "[TalveroApp] bundle returned\n");
  EXPECT_EQ(records, (Args{"[\"a.glb\",\"b.glb\"]", "bundle ran ·"}));
}

TEST_F(LaunchSequence, BundleWithoutPreloadsCreatesAnEmptyEngineAndAMissingOneIsReported) {
  write("bundle/bundle.js", "record('ran');");
  engine.run("_creator.createEngine = function (list) { record(JSON.stringify(list)); };");
  auto launch = makeLaunch({"talvero"});
  EXPECT_EQ(output([&] { launch->runBundle(); }),
            "[TalveroApp] createEngine([])\n[TalveroApp] running bundle (14 chars)\n"
            "[TalveroApp] bundle returned\n");
  EXPECT_EQ(records, (Args{"[]", "ran"}));

  fs::remove(root / "bundle/bundle.js");
  EXPECT_EQ(output([&] { launch->runBundle(); }), "[TalveroApp] no Resources/bundle.js found\n");
}

}  // namespace
}  // namespace talvero
