// The launcher of the desktop host. The host runs this file, then calls launch() with the
// process's whole argument list, the process name first. It shows a first screen that says
// what this build of Talvero can run and what it cannot yet, and a second screen reached
// through the router, so that screens, texts, buttons and the slide between screens can be
// seen working.

var BUILT = "Built: the script engine, timers and animations, and the native UI tree " +
    "(screens, the router, texts, buttons, widgets, flexbox layout).";
var NOT_BUILT = "Not built yet: 3D scenes, 2D scenes, network, media and canvas. Opening a " +
    "project from a file or a URL is not built either.";

function text(content, style) {
  return {type: "text", _text: content, _style: style || {}};
}

function button(label, onClick) {
  return {
    type: "button",
    _style: {
      backgroundColor: "#2d6cdf",
      borderRadius: 8,
      paddingHorizontal: 20,
      paddingVertical: 12,
      alignSelf: "flex-start",
    },
    children: [text(label, {color: "#ffffff", fontSize: 16})],
    // A press is only a click here: no drag to follow.
    _emitTouchStart: function () { return null; },
    _emitClick: onClick,
  };
}

function page(children) {
  return {
    type: "screen",
    _style: {backgroundColor: "#15171d", padding: 32, gap: 16},
    children: children,
  };
}

function secondScreen() {
  return page([
    text("A second screen", {color: "#ffffff", fontSize: 24, fontWeight: 600}),
    text("It came in through the router, sliding from the right. Going back slides it out " +
        "again and shows the first screen as it was.", {color: "#c8ccd6", fontSize: 15}),
    button("Back", function () {
      console.log("[launcher] back to the first screen");
      _creatorUI.routerPop(-1);
    }),
  ]);
}

function firstScreen(target, info) {
  var children = [
    text("Talvero", {color: "#ffffff", fontSize: 32, fontWeight: 700}),
    text("Runtime " + info.app + " on " + info.platform + " (" + info.arch + ", " +
        info.cpuCores + " cores)", {color: "#8f96a3", fontSize: 14}),
    text(BUILT, {color: "#c8ccd6", fontSize: 15}),
    text(NOT_BUILT, {color: "#e0b05c", fontSize: 15}),
  ];
  if (target !== "") {
    children.push(text("Asked to open " + target + ", which this build cannot do yet.",
        {color: "#e0b05c", fontSize: 15}));
  }
  children.push(button("Open the second screen", function () {
    console.log("[launcher] opening the second screen");
    _creatorUI.routerPush(secondScreen());
  }));
  return page(children);
}

function launch(argv) {
  console.log("[launcher] argv: " + JSON.stringify(argv));
  var target = _creatorUtils.getArgv();
  console.log("[launcher] launch argument: " + (target === "" ? "(none)" : target));
  var info = _creatorUtils.systemInfo();
  console.log("[launcher] system: " + info.platform + " " + info.arch + ", " + info.cpuCores +
      " cores, 3D backend " + info.backend);
  if (target !== "") {
    console.log("[launcher] opening projects is not built yet: " + target + " is not run");
  }
  _creatorUI.routerOpen(firstScreen(target, info), undefined, false);
}
