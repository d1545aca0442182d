// The launcher of the desktop host. The host runs this file, then calls launch() with the
// process's whole argument list, the process name first. It shows a first screen that says
// what this build of Talvero can run and what it cannot yet, a list of a thousand rows of
// which only the visible ones are built, a text field, a pulsing badge, and a second screen
// reached through the router, so that the native UI can be seen working.

var BUILT = "Built: the script engine, timers and animations, the native UI tree (screens, " +
    "the router, texts, buttons, inputs, scrolling and virtual lists, gradients, borders, " +
    "node animations, toasts, widgets, flexbox layout) and the services (fetch, web " +
    "sockets, local storage, file picking).";
var NOT_BUILT = "Not built yet: 3D scenes, 2D scenes, media and canvas. Opening a " +
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

// A thousand rows; the list asks for the ones near its viewport as it scrolls.
function rowList() {
  var keys = [];
  var estimates = [];
  for (var i = 0; i < 1000; i++) {
    keys.push("row" + i);
    estimates.push(28);
  }
  var list = {
    type: "vlist",
    _style: {height: 140, borderRadius: 8, backgroundColor: "#1f232b"},
    _keys: keys,
    _estimates: estimates,
    _syncWindow: function (removed, added) {
      for (var k = 0; k < added.length; k++) {
        var index = Number(added[k].slice(3));
        _creatorUI.vlistMount(list, added[k], {
          type: "view",
          _style: {height: 28, paddingHorizontal: 12, justifyContent: "center"},
          children: [text("Row " + (index + 1) + " of 1000",
              {color: index % 2 ? "#c8ccd6" : "#8f96a3", fontSize: 14})],
        });
      }
    },
  };
  return list;
}

function nameInput() {
  return {
    type: "input",
    _style: {placeholder: "Type here", fontSize: 16, height: 36, paddingHorizontal: 10, borderRadius: 6,
      borderWidth: 1, borderColor: "#3a4150", backgroundColor: "#1f232b"},
    cl: [function (value) { console.log("[launcher] typed: " + value); }],
  };
}

// A badge that fades out and back in, over and over, through node animations.
function pulsingBadge() {
  var badge = {
    type: "view",
    _style: {width: 120, height: 28, borderRadius: 14,
      backgroundGradient: "linear-gradient(90deg, #2d6cdf, #9b5de5)"},
  };
  var dim = false;
  function pulse() {
    if (!badge._id) return;
    dim = !dim;
    _creatorUI.animateTo(badge._id, {opacity: dim ? 0.35 : 1, duration: 900});
    setTimeout(pulse, 900);
  }
  setTimeout(pulse, 300);
  return badge;
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
  children.push(pulsingBadge());
  children.push(nameInput());
  children.push(rowList());
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
