#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "style_test_support.h"

namespace talvero {
namespace {

using namespace hash_literals;
using testing::HandlerCall;
using PropertyTest = testing::StyleTest;

TEST(PropertyIds, EveryNameHashesToItsPublishedId) {
  const std::pair<const char*, uint32_t> table[] = {
      {"width", 0x95876E1F},
      {"height", 0xD5BDBB42},
      {"minWidth", 0x270F7EF9},
      {"maxWidth", 0x452E64F3},
      {"minHeight", 0xA5A7D2E8},
      {"maxHeight", 0x85392EAE},
      {"margin", 0xD7713C7B},
      {"marginLeft", 0xA98C8C42},
      {"marginTop", 0xAC720952},
      {"marginRight", 0x828759AF},
      {"marginBottom", 0x36B007D4},
      {"marginHorizontal", 0x9F462D93},
      {"marginVertical", 0x259F0F5D},
      {"marginStart", 0xE6448C19},
      {"marginEnd", 0x27DF99E8},
      {"padding", 0x809608B6},
      {"paddingLeft", 0xAA144AD3},
      {"paddingTop", 0x6CEF72A1},
      {"paddingRight", 0x60C4B85C},
      {"paddingBottom", 0x251F3C2D},
      {"paddingHorizontal", 0x7903440A},
      {"paddingVertical", 0x1CC0663C},
      {"paddingStart", 0xA324AF36},
      {"paddingEnd", 0x8971A6D3},
      {"left", 0x124AEC70},
      {"top", 0xA710DC3C},
      {"right", 0x78E32DE5},
      {"bottom", 0x4EA76B2A},
      {"start", 0x652B04DF},
      {"end", 0x6A8E75AA},
      {"gap", 0x481721CF},
      {"rowGap", 0xEF90C7ED},
      {"columnGap", 0x03903E19},
      {"flex", 0xCAE02FF2},
      {"flexGrow", 0xFF28CEFD},
      {"flexShrink", 0x6483C1F3},
      {"flexBasis", 0x512BFB38},
      {"aspectRatio", 0x161C7D98},
      {"flexDirection", 0x054C9D07},
      {"flexWrap", 0x1FE2E7D6},
      {"justifyContent", 0x06538BB8},
      {"alignItems", 0xB4EE9BCA},
      {"alignSelf", 0x5C63F378},
      {"position", 0x934F4E0A},
      {"boxSizing", 0x4257BC7C},
      {"display", 0x4569F715},
      {"overflow", 0x995CA76B},
      {"scrollDirection", 0xA883387D},
      {"border", 0x1F523237},
      {"borderLeft", 0xC678C31E},
      {"borderTop", 0x22EBEFF6},
      {"borderRight", 0xB9B7CD73},
      {"borderBottom", 0x96B73008},
      {"borderStart", 0xDB6DA59D},
      {"borderEnd", 0x83DD5EC4},
      {"borderHorizontal", 0x4F8E4397},
      {"borderVertical", 0xBE5A7979},
      {"borderWidth", 0x211EC219},
      {"borderLeftWidth", 0x750A6D9A},
      {"borderTopWidth", 0x4FD151A2},
      {"borderRightWidth", 0x1B1D7465},
      {"borderBottomWidth", 0xB1A96504},
      {"borderStartWidth", 0xB0D3DD07},
      {"borderEndWidth", 0xC9E690E0},
      {"borderHorizontalWidth", 0x7EA95339},
      {"borderVerticalWidth", 0x6D5B1893},
      {"borderRadius", 0x0361B2A5},
      {"borderTopLeftRadius", 0xE19EF761},
      {"borderTopRightRadius", 0xC4027C22},
      {"borderBottomLeftRadius", 0x2D741127},
      {"borderBottomRightRadius", 0x764A5918},
      {"color", 0x3D7E6258},
      {"backgroundColor", 0xB7C5A6D0},
      {"borderColor", 0xBA2580E6},
      {"borderTopColor", 0x8968A839},
      {"borderRightColor", 0x4E19A1B2},
      {"borderBottomColor", 0x1A4ADE7F},
      {"borderLeftColor", 0xC32BEFA1},
      {"tintColor", 0x220E8673},
      {"overlayColor", 0x33F94682},
      {"placeholderColor", 0xDB06788D},
      {"rippleColor", 0x41EFB286},
      {"background", 0x4BABD89D},
      {"backgroundImage", 0xC7366722},
      {"backgroundSize", 0x3EBDFBF4},
      {"backgroundGradient", 0xC62A073D},
      {"transform", 0xE1AD931B},
      {"opacity", 0xC6C2DD66},
      {"fontSize", 0xA8F18501},
      {"fontWeight", 0x720AF8F0},
      {"fontStyle", 0x957BD755},
      {"fontFamily", 0x97DCB9A0},
      {"lineHeight", 0x589812D8},
      {"letterSpacing", 0xB3EDCBC6},
      {"textAlign", 0x4E14D33F},
      {"textDecoration", 0x6E62CBC0},
      {"objectFit", 0x11E71869},
      {"pointerEvents", 0x918593CF},
      {"placeholder", 0x7D0B279A},
      {"type", 0x5127F14D},
      {"showScrollbar", 0x94DA364A},
  };
  for (const auto& [name, id] : table) EXPECT_EQ(fnv1a(name), id) << name;
  EXPECT_EQ(fnv1a(""), 0x811C9DC5u);
  EXPECT_EQ("onPortait"_h, 0xC605AE33u);
}

TEST(PropertyIds, BytesAboveAsciiHashAsSignedValues) {
  // 0xE9 widened as a signed byte is 0xFFFFFFE9, not 0x000000E9.
  const uint32_t unsignedHash = (0x811C9DC5u ^ 0xE9u) * 16777619u;
  EXPECT_NE(fnv1a("\xE9"), unsignedHash);
  EXPECT_EQ(fnv1a("\xE9"), (0x811C9DC5u ^ 0xFFFFFFE9u) * 16777619u);
}

TEST_F(PropertyTest, ShortAndLongNamesWriteTheSameSlot) {
  setString(root, "mt", "5px");
  setString(root, "marginTop", "7px");
  EXPECT_EQ(nodeContext(root)->styles.size(), 1u);
  EXPECT_EQ(YGNodeStyleGetMargin(root, YGEdgeTop).value, 7.0f);
  setFloat(root, "bgColor", 0x00FF00);
  EXPECT_EQ(takeCalls().back().colour, 0x00FF00FFu);
}

TEST_F(PropertyTest, StringsAndNumbersTakeDifferentPathsForWidth) {
  setString(root, "width", "10");
  EXPECT_EQ(YGNodeStyleGetWidth(root).unit, YGUnitPercent);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 10.0f);
  setFloat(root, "width", 10);
  EXPECT_EQ(YGNodeStyleGetWidth(root).unit, YGUnitPoint);
  setString(root, "width", "auto");
  EXPECT_EQ(YGNodeStyleGetWidth(root).unit, YGUnitAuto);
  setFloat(root, "width", 3);
  setString(root, "width", "absent");  // only the first letter counts
  EXPECT_EQ(YGNodeStyleGetWidth(root).unit, YGUnitAuto);
  setString(root, "width", "12.5px");
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 12.5f);
}

TEST_F(PropertyTest, FlexBasisKnowsNoAutoString) {
  setString(root, "flexBasis", "auto");
  EXPECT_EQ(YGNodeStyleGetFlexBasis(root).unit, YGUnitPercent);
  EXPECT_EQ(YGNodeStyleGetFlexBasis(root).value, 0.0f);
}

TEST_F(PropertyTest, LengthOnlyPropertiesIgnoreWhatTheParserRefuses) {
  setString(root, "flexGrow", "1");
  EXPECT_EQ(YGNodeStyleGetFlexGrow(root), 0.0f);
  setFloat(root, "flexGrow", 1);
  EXPECT_EQ(YGNodeStyleGetFlexGrow(root), 1.0f);
  setString(root, "paddingStart", "10%");
  EXPECT_TRUE(YGFloatIsUndefined(YGNodeStyleGetPadding(root, YGEdgeStart).value));
  setString(root, "paddingLeft", "10%");
  EXPECT_EQ(YGNodeStyleGetPadding(root, YGEdgeLeft).unit, YGUnitPercent);
}

TEST_F(PropertyTest, EveryStringMeetsTheLengthParserBeforeItsHandler) {
  setString(root, "placeholder", "Height in px");
  EXPECT_TRUE(takeCalls().empty());  // taken as a length: its text never reaches the handler
  setString(root, "placeholder", "Your name");
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].kind, "string");
  EXPECT_EQ(calls[0].text, "Your name");
}

TEST_F(PropertyTest, BorderShorthandSplitsWidthAndColour) {
  struct Case {
    const char* value;
    float width;
    uint32_t colour;
  };
  for (const Case& c :
       {Case{"2px solid red", 2, 0xFF0000FF}, Case{"2px solid", 2, 0}, Case{"red", 1, 0xFF0000FF},
        Case{"2px", 1, 0}, Case{"3px #00f", 3, 0x0000FFFF}}) {
    setString(root, "border", c.value);
    auto calls = takeCalls();
    ASSERT_EQ(calls.size(), 2u) << c.value;
    EXPECT_EQ(calls[0].id, "borderWidth"_h) << c.value;
    EXPECT_EQ(calls[0].number, c.width) << c.value;
    EXPECT_EQ(calls[1].id, "borderColor"_h) << c.value;
    EXPECT_EQ(calls[1].colour, c.colour) << c.value;
    EXPECT_EQ(YGNodeStyleGetBorder(root, YGEdgeAll), c.width) << c.value;
  }
  setString(root, "borderTop", "4px solid blue");
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].id, "borderTopWidth"_h);
  EXPECT_EQ(calls[1].id, "borderTopColor"_h);
  EXPECT_EQ(calls[1].colour, 0x0000FFFFu);
  EXPECT_EQ(YGNodeStyleGetBorder(root, YGEdgeTop), 4.0f);
}

TEST_F(PropertyTest, BackgroundGoesWhereItsValueBelongs) {
  setString(root, "background", "#ff0000");
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].id, "backgroundColor"_h);
  EXPECT_EQ(calls[0].colour, 0xFF0000FFu);
  setString(root, "background", "photo.jpg");
  calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].id, "backgroundImage"_h);
  setString(root, "background", "linear-gradient(red, blue)");
  calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].kind, "gradient");
  ASSERT_NE(calls[0].gradient, nullptr);
  EXPECT_EQ(calls[0].gradient->stopCount, 2u);
  setString(root, "background", "conic-gradient(red, blue)");
  calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].kind, "reset");
  EXPECT_EQ(calls[0].id, "backgroundGradient"_h);
}

TEST_F(PropertyTest, ColourNumbersAreOpaque) {
  setFloat(root, "color", 16711680);
  EXPECT_EQ(takeCalls().back().colour, 0xFF0000FFu);
  setString(root, "color", "no colour");
  EXPECT_EQ(takeCalls().back().colour, 0u);
  setString(root, "rippleColor", "default");
  EXPECT_EQ(takeCalls().back().colour, 0x64FFFFFFu);
  EXPECT_EQ(getColor("#abc"), 0xAABBCCFFu);
  EXPECT_EQ(getColor("nothing"), 0u);
}

TEST_F(PropertyTest, UnknownNamesStillStoreAndReachHandlersByHash) {
  addFloatHandler("customGlow", &testing::recordFloat<"customGlow"_h>);
  setFloat(root, "customGlow", 3);
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].id, "customGlow"_h);
  EXPECT_EQ(nodeContext(root)->styles.count("customGlow"_h), 1u);
}

TEST_F(PropertyTest, FirstRegistrationOfANameStays) {
  addFloatHandler("opacity", &testing::recordFloat<1u>);
  setFloat(root, "opacity", 0.5f);
  EXPECT_EQ(takeCalls().back().id, "opacity"_h);
}

TEST_F(PropertyTest, KeywordsAreComparedWholeAndBadOnesChangeNothing) {
  setString(root, "flexDirection", "row");
  EXPECT_EQ(YGNodeStyleGetFlexDirection(root), YGFlexDirectionRow);
  setString(root, "flexDirection", "Row");
  setString(root, "flexDirection", "");
  EXPECT_EQ(YGNodeStyleGetFlexDirection(root), YGFlexDirectionRow);
  setString(root, "justifyContent", "space-evenly");
  EXPECT_EQ(YGNodeStyleGetJustifyContent(root), YGJustifySpaceEvenly);
  setString(root, "alignItems", "auto");  // auto belongs to alignSelf only
  EXPECT_EQ(YGNodeStyleGetAlignItems(root), YGAlignStretch);
  setString(root, "alignSelf", "auto");
  EXPECT_EQ(YGNodeStyleGetAlignSelf(root), YGAlignAuto);
  setString(root, "boxSizing", "border-box");
  EXPECT_EQ(YGNodeStyleGetBoxSizing(root), YGBoxSizingBorderBox);
  EXPECT_TRUE(takeCalls().empty());
}

TEST_F(PropertyTest, DisplayAndOverflowAlwaysReachTheirHandler) {
  setString(root, "display", "none");
  EXPECT_EQ(YGNodeStyleGetDisplay(root), YGDisplayNone);
  setString(root, "display", "grid");
  EXPECT_EQ(YGNodeStyleGetDisplay(root), YGDisplayNone);
  setString(root, "overflow", "hidden");
  setString(root, "overflow", "");
  EXPECT_EQ(YGNodeStyleGetOverflow(root), YGOverflowHidden);
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[1].text, "grid");
  EXPECT_EQ(calls[3].id, "overflow"_h);
  EXPECT_EQ(calls[3].text, "");
}

TEST_F(PropertyTest, ScrollDirectionSetsDirectionOverflowAndHandler) {
  setString(root, "scrollDirection", "horizontal");
  EXPECT_EQ(YGNodeStyleGetFlexDirection(root), YGFlexDirectionRow);
  EXPECT_EQ(YGNodeStyleGetOverflow(root), YGOverflowScroll);
  setString(root, "scrollDirection", "all");  // leaves the direction
  EXPECT_EQ(YGNodeStyleGetFlexDirection(root), YGFlexDirectionRow);
  setString(root, "scrollDirection", "vertical");
  EXPECT_EQ(YGNodeStyleGetFlexDirection(root), YGFlexDirectionColumn);
  setString(root, "scrollDirection", "diagonal");
  std::vector<float> values;
  for (const auto& call : takeCalls()) values.push_back(call.number);
  EXPECT_EQ(values, (std::vector<float>{2, 3, 1}));
}

TEST_F(PropertyTest, FontWeightAndStyleWords) {
  setString(root, "fontWeight", "bold");
  setString(root, "fontWeight", "normal");
  setString(root, "fontWeight", "600");
  setString(root, "fontStyle", "italic");
  setString(root, "fontStyle", "default");
  setString(root, "fontStyle", "oblique");
  std::vector<float> values;
  for (const auto& call : takeCalls()) values.push_back(call.number);
  EXPECT_EQ(values, (std::vector<float>{700, 400, 600, 2, 0}));
}

TEST_F(PropertyTest, FlexShorthandRows) {
  struct Case {
    const char* value;
    float grow;
    float shrink;
    YGUnit basisUnit;
    float basis;
  };
  const Case cases[] = {
      {"", 1, 1, YGUnitPercent, 0},         {"none", 0, 0, YGUnitAuto, 0},
      {"initial", 0, 1, YGUnitAuto, 0},     {"2", 2, 1, YGUnitPercent, 0},
      {"auto", 1, 1, YGUnitAuto, 0},        {"30%", 1, 1, YGUnitPercent, 30},
      {"2 3", 2, 3, YGUnitPercent, 0},      {"2 40px", 2, 1, YGUnitPoint, 40},
      {"2 3 content", 2, 3, YGUnitAuto, 0}, {"1 0 25%", 1, 0, YGUnitPercent, 25},
      {"1 2 3 4", 1, 2, YGUnitPoint, 3},
  };
  for (const Case& c : cases) {
    setString(root, "flex", c.value);
    EXPECT_EQ(YGNodeStyleGetFlexGrow(root), c.grow) << c.value;
    EXPECT_EQ(YGNodeStyleGetFlexShrink(root), c.shrink) << c.value;
    const YGValue basis = YGNodeStyleGetFlexBasis(root);
    EXPECT_EQ(basis.unit, c.basisUnit) << c.value;
    if (c.basisUnit != YGUnitAuto) {
      EXPECT_EQ(basis.value, c.basis) << c.value;
    }
  }
  setFloat(root, "flex", 3);
  EXPECT_EQ(YGNodeStyleGetFlexGrow(root), 3.0f);
  EXPECT_EQ(YGNodeStyleGetFlexBasis(root).unit, YGUnitPoint);
}

TEST_F(PropertyTest, LineHeightFollowsTheFontSize) {
  setFloat(root, "fontSize", 20);
  takeCalls();
  for (const char* value : {"normal", "1.5", "150%", "abc", "0", "16px"})
    setString(root, "lineHeight", value);
  std::vector<float> values;
  for (const auto& call : takeCalls()) values.push_back(call.number);
  EXPECT_EQ(values, (std::vector<float>{24, 30, 30, 0, 16}));
  const auto& dynamic = nodeContext(root)->dynamicProps;
  EXPECT_NE(std::find(dynamic.begin(), dynamic.end(), "lineHeight"_h), dynamic.end());
}

TEST_F(PropertyTest, EmLengthsFollowTheNodesOwnFontSize) {
  YGNodeRef child = createNode(root, 0, 0);
  setString(child, "width", "2em");
  EXPECT_EQ(YGNodeStyleGetWidth(child).value, 28.0f);
  setFloat(root, "fontSize", 30);  // the parent's size is not inherited
  EXPECT_EQ(YGNodeStyleGetWidth(child).value, 28.0f);
  setFloat(child, "fontSize", 10);
  EXPECT_EQ(YGNodeStyleGetWidth(child).value, 20.0f);
}

TEST_F(PropertyTest, SafeAllUsesTheInsetsAndSparesLiveEdges) {
  setSafePaddings(nullptr, 10, 20, 30, 40);
  setString(root, "marginTop", "5px");
  setString(root, "margin", "safe-all");
  EXPECT_EQ(YGNodeStyleGetMargin(root, YGEdgeTop).value, 5.0f);
  EXPECT_EQ(YGNodeStyleGetMargin(root, YGEdgeLeft).value, 40.0f);
  EXPECT_EQ(YGNodeStyleGetMargin(root, YGEdgeRight).value, 20.0f);
  EXPECT_EQ(YGNodeStyleGetMargin(root, YGEdgeBottom).value, 30.0f);
  setString(root, "padding", "safe-all-comfort");
  EXPECT_EQ(YGNodeStyleGetPadding(root, YGEdgeTop).value, 12.0f);  // at least the comfort inset
  EXPECT_EQ(YGNodeStyleGetPadding(root, YGEdgeBottom).value, 30.0f);
  setSafePaddings(root, 50, 0, 0, 0);
  EXPECT_EQ(YGNodeStyleGetPadding(root, YGEdgeTop).value, 50.0f);  // dynamic: worked out anew
}

TEST_F(PropertyTest, OpacityTextIsReadByAtof) {
  setString(root, "opacity", "50%");
  EXPECT_EQ(takeCalls().back().number, 50.0f);
}

TEST_F(PropertyTest, BorderRadiusSendsOneOrFourCorners) {
  setString(root, "borderRadius", "8px");
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].id, "borderRadius"_h);
  EXPECT_EQ(calls[0].number, 8.0f);
  setString(root, "borderRadius", "10px 0 10px 0");
  calls = takeCalls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].id, "borderTopLeftRadius"_h);
  EXPECT_EQ(calls[2].id, "borderBottomRightRadius"_h);
  EXPECT_EQ(calls[3].number, 0.0f);
  ::testing::internal::CaptureStdout();
  setString(root, "borderRadius", "10px 5px 10px 5px");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[WARN] borderRadius: unsupported value \"10px 5px 10px 5px\"\n");
  EXPECT_TRUE(takeCalls().empty());
}

TEST_F(PropertyTest, TransformGoesToTheMatrixHandler) {
  setString(root, "transform", "translate(10px, 20px)");
  auto calls = takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].matrix[6], 10.0f);
  EXPECT_EQ(calls[0].matrix[7], 20.0f);
}

}  // namespace
}  // namespace talvero
