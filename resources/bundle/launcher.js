// The launcher of the desktop host. The host runs this file, then calls launch() with the
// process's whole argument list, the process name first. It shows a first screen that says
// what this build of Talvero can run and what it cannot yet, a list of a thousand rows of
// which only the visible ones are built, a text field, a pulsing badge, and a second screen
// reached through the router, so that the native UI can be seen working.

var BUILT = "Built: the script engine, timers and animations, the native UI tree (screens, " +
    "the router, texts, buttons, inputs, scrolling and virtual lists, gradients, borders, " +
    "node animations, toasts, widgets, flexbox layout), the services (fetch, web " +
    "sockets, local storage, file picking) and the 3D foundation (scenes, entities, " +
    "transforms, unlit materials, textures, script-made meshes).";
var NOT_BUILT = "Not built yet: 2D scenes, media and canvas; in 3D, lights, GLB models, " +
    "particles and physics. Opening a project from a file or a URL is not built either.";

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

// ---- The 3D playground ------------------------------------------------------------------
// A textured crate turning over a floor, built from script meshes. The scene is made and
// warmed when the launcher starts, so that opening it later shows it at once.

var playground = null;

function mesh(positions, normals, uvs, indices) {
  return {p: new Float32Array(positions), n: new Float32Array(normals), uv: new Float32Array(uvs),
    ix: new Uint16Array(indices)};
}

// Six faces of four corners each, so that every face has its own normal and texture corners.
function cubeMesh() {
  var faces = [[0, 0, 1], [0, 0, -1], [1, 0, 0], [-1, 0, 0], [0, 1, 0], [0, -1, 0]];
  var positions = [], normals = [], uvs = [], indices = [];
  faces.forEach(function (n, face) {
    // Two axes across the face, chosen so that corners wind counter-clockwise seen from outside.
    var u = n[1] !== 0 ? [1, 0, 0] : [n[2] !== 0 ? n[2] : 0, 0, n[0] !== 0 ? -n[0] : 0];
    var v = [n[1] * u[2] - n[2] * u[1], n[2] * u[0] - n[0] * u[2], n[0] * u[1] - n[1] * u[0]];
    [[-1, -1], [1, -1], [1, 1], [-1, 1]].forEach(function (c) {
      for (var k = 0; k < 3; k++) positions.push(0.5 * (n[k] + c[0] * u[k] + c[1] * v[k]));
      normals.push(n[0], n[1], n[2]);
      uvs.push((c[0] + 1) / 2, (c[1] + 1) / 2);
    });
    var b = face * 4;
    indices.push(b, b + 1, b + 2, b, b + 2, b + 3);
  });
  return mesh(positions, normals, uvs, indices);
}

function floorMesh() {
  return mesh([-3, 0, 3, 3, 0, 3, 3, 0, -3, -3, 0, -3], [0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0],
      [0, 0, 1, 0, 1, 1, 0, 1], [0, 1, 2, 0, 2, 3]);
}

// The camera looks at the origin from `distance`, turned by yaw and pitch (radians).
function placeCamera(camera, yaw, pitch, distance) {
  var eye = [distance * Math.cos(pitch) * Math.sin(yaw), distance * Math.sin(pitch),
    distance * Math.cos(pitch) * Math.cos(yaw)];
  var length = Math.sqrt(eye[0] * eye[0] + eye[1] * eye[1] + eye[2] * eye[2]);
  var back = [eye[0] / length, eye[1] / length, eye[2] / length];
  var right = [back[2], 0, -back[0]];
  var rightLength = Math.sqrt(right[0] * right[0] + right[2] * right[2]);
  right = [right[0] / rightLength, 0, right[2] / rightLength];
  var up = [back[1] * right[2] - back[2] * right[1], back[2] * right[0] - back[0] * right[2],
    back[0] * right[1] - back[1] * right[0]];
  _creator.setMatrix(camera, new Float32Array([right[0], right[1], right[2], 0, up[0], up[1], up[2], 0,
    back[0], back[1], back[2], 0, eye[0], eye[1], eye[2], 1]));
}

function addMesh(scene, instance, shape) {
  var entity = _creator.createEntity();
  _creator.setMesh(entity, instance, shape.p, shape.n, shape.ix, shape.uv, 0);
  _creator.addEntityToScene(scene, entity);
  return entity;
}

function preparePlayground() {
  _creator.createEngine([]);
  var scene = _creator.createScene();
  var camera = _creator.createEntity();
  _creator.attachCameraToAR(scene, camera);
  var view = {yaw: 0.6, pitch: 0.45, distance: 5};
  placeCamera(camera, view.yaw, view.pitch, view.distance);

  var floorMaterial = _creator.createMaterial(_creatorUtils.fetchLocal("materials/unlit_color.filamat"));
  _creator.setUniformRgba(floorMaterial, "baseColor", 0x2f5d46ff);
  addMesh(scene, floorMaterial, floorMesh());

  var crateMaterial =
      _creator.createMaterial(_creatorUtils.fetchLocal("materials/unlit_textured.filamat"));
  _creator.setUniformRgba(crateMaterial, "baseColor", 0xffffffff);
  var crate = addMesh(scene, crateMaterial, cubeMesh());
  _creator.createTexture(_creatorUtils.fetchLocal("textures/crate.png"),
      function (texture, width, height) {
        console.log("[launcher] crate texture " + width + "x" + height);
        _creator.setUniformTexture(crateMaterial, "baseTexture", texture, 1, 1);
      },
      function (error) { console.log("[launcher] crate texture failed: " + error.message); });

  var time = 0;
  _creator.setEarlyUpdate(function (dt) {
    time += dt;
    _creator.setEulerAngles(crate, 20 * Math.sin(time), time * 50, 0, 0);
    _creator.setPosition(crate, 0, 0.9 + 0.25 * Math.sin(time * 2), 0);
  });
  playground = {scene: scene, camera: camera, view: view, warm: false, waiting: null};
  _creator.warmRender(scene, function () {
    playground.warm = true;
    if (playground.waiting) playground.waiting();
  });
}

// Dragging across the view turns the camera around the crate.
function followDrags() {
  _creatorUI.registerTouchStartEvent(function () {
    return {
      onMove: function (event) {
        var view = playground.view;
        view.yaw -= event.deltaX * 0.01;
        view.pitch = Math.max(0.05, Math.min(1.4, view.pitch + event.deltaY * 0.01));
        placeCamera(playground.camera, view.yaw, view.pitch, view.distance);
      },
      onEnd: function () {},
    };
  });
}

function playgroundScreen() {
  return {
    type: "screen",
    _style: {backgroundColor: "transparent", padding: 32, gap: 12},
    children: [
      text("3D playground", {color: "#ffffff", fontSize: 24, fontWeight: 600}),
      text("A crate of script-made geometry with a texture drawn at build time, unlit, " +
          "turned by an update function. Drag to turn the camera. Lights, shadows, GLB " +
          "models, particles and physics are not built yet.", {color: "#e6e8ee", fontSize: 14}),
      button("Back", function () {
        console.log("[launcher] leaving the 3D playground");
        _creator.closeScene();
        _creatorUI.routerPop(-1);
      }),
    ],
  };
}

function open3dPlayground() {
  console.log("[launcher] opening the 3D playground");
  _creatorUI.routerPush(playgroundScreen());
  followDrags();
  var open = function () {
    playground.waiting = null;
    _creator.openScene(playground.scene);
  };
  if (playground.warm) {
    open();
  } else {
    playground.waiting = open;
  }
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
  // First in the tree: the self-test's first click opens it.
  children.splice(1, 0, button("3D playground", open3dPlayground));
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
  preparePlayground();
  _creatorUI.routerOpen(firstScreen(target, info), undefined, false);
}
