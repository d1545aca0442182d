// preload: level.glb ; hero.png
// The bundle of the "--verify" end-to-end test: a routed screen of texts, an input and a text
// area, whose first button pushes a second screen, whose own first button pops it again; the
// root takes touches itself and holds a virtual list for the scroll step; a widget over
// everything hides itself when its overlay is tapped. Every listener logs, so the test can
// tell what the self-test reached.

function log(text) {
  console.log("[bundle] " + text);
}

function text(content) {
  return {type: "text", _text: content, _style: {color: "#f0f0f0", fontSize: 18}};
}

function button(label, onClick) {
  return {
    type: "button",
    _style: {backgroundColor: "#3a6ee8", paddingHorizontal: 16, paddingVertical: 10},
    children: [text(label)],
    _emitTouchStart: function (pointerId) {
      log("button touch " + pointerId);
      return null;
    },
    _emitClick: function () {
      onClick();
    },
  };
}

function secondScreen() {
  return {
    type: "screen",
    name: "second",
    _style: {padding: 24, gap: 12, backgroundColor: "#2c2040"},
    children: [
      text("The second screen came in through the router."),
      button("Back", function () {
        log("pop clicked");
        _creatorUI.routerPop(-1);
      }),
    ],
  };
}

// Two hundred rows of which only those near the viewport are built.
var rowKeys = [];
var rowEstimates = [];
for (var r = 0; r < 200; r++) {
  rowKeys.push("row" + r);
  rowEstimates.push(24);
}
var list = {
  type: "vlist",
  _style: {height: 160, backgroundColor: "#2a3140"},
  _keys: rowKeys,
  _estimates: rowEstimates,
  sl: [function (offset) { log("list scrolled to " + offset); }],
  _syncWindow: function (removed, added) {
    for (var i = 0; i < added.length; i++) {
      _creatorUI.vlistMount(list, added[i], {
        type: "text",
        _text: "List " + added[i],
        _style: {color: "#f0f0f0", fontSize: 14, height: 24, paddingHorizontal: 8},
      });
    }
  },
};

var moves = 0;
var root = {
  type: "screen",
  name: "root",
  _interactive: true,
  _style: {padding: 24, gap: 12, backgroundColor: "#20242c"},
  children: [
    text("Talvero end-to-end verification"),
    text("These lines give the snapshot enough drawn pixels to count as content."),
    text("The first button below pushes a second screen through the router."),
    {
      type: "input",
      _style: {fontSize: 20, borderWidth: 1, borderColor: "#5a6478"},
      cl: [function (value) { log("input changed to " + value); }],
    },
    {
      type: "textarea",
      _style: {placeholder: "Several lines", borderWidth: 1, borderColor: "#5a6478"},
      cl: [function (value) { log("text area changed to " + value); }],
    },
    button("Push the second screen", function () {
      log("push clicked");
      _creatorUI.routerPush(secondScreen());
    }),
    list,
  ],
  ol: [function () { log("root opened"); }],
  _emitTouchStart: function (pointerId, x, y) {
    log("touch start " + pointerId + " at " + x + "," + y);
    return {
      onMove: function () { moves++; },
      onEnd: function (event) {
        log("touch end at " + event.clientX + "," + event.clientY + " after " + moves + " moves");
      },
    };
  },
};

_creatorUI.routerOpen(root, function (node) { log("router at " + node.name); }, false);

var widget = {
  type: "widget",
  _style: {top: 400, left: 500, width: 260, height: 120, backgroundColor: "#445566"},
  children: [text("A widget over the screen")],
  otl: [function () {
    log("overlay tapped");
    _creatorUI.hideWidget(widget);
  }],
};
_creatorUI.showWidget(widget);
log("built");
