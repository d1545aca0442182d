// The launcher of the desktop host. The host runs this file, then calls launch() with the
// process's whole argument list, the process name first. It shows a first screen that says
// what this build of Talvero can run and what it cannot yet, a list of a thousand rows of
// which only the visible ones are built, a text field, a pulsing badge, and a second screen
// reached through the router, so that the native UI can be seen working.

var BUILT = "Built: the script engine, timers and animations, the native UI tree (screens, " +
    "the router, texts, buttons, inputs, scrolling and virtual lists, gradients, borders, " +
    "node animations, toasts, widgets, flexbox layout), the services (fetch, web " +
    "sockets, local storage, file picking), the 3D foundation (scenes, entities, " +
    "transforms, unlit materials, textures, script-made meshes), 3D physics and 2D scenes " +
    "(entities, camera, sprites, frame clips, picking, tilemaps, physics, the batch " +
    "renderer), canvas surfaces, SVG drawing and image nodes.";
var NOT_BUILT = "Not built yet: media; in 3D, lights, GLB models and particles. Opening a " +
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

// A canvas picture of shapes and text, drawn once by the host and shown by an image node.
function canvasCard() {
  var commands = [], strings = [];
  function string(value) {
    strings.push(value);
    return strings.length - 1;
  }
  commands.push(6, string("#243b5e"), 14, 22, 0, 0, 220, 72, 14, 23, 0);  // the card
  commands.push(6, string("#f4a261"), 14, 20, 36, 36, 20, 0, 6.2832, 1, 23, 0);  // a disc
  commands.push(7, string("#e9c46a"), 8, 3, 9, 1, 14, 16, 66, 54, 17, 88, 18, 17, 110, 54, 15,
      24);  // a triangle's outline
  commands.push(6, string("#ffffff"), 11, string("bold 18px sans-serif"), 13, 2, 28,
      string("Canvas"), 124, 36, 0);
  var surface = _creatorCanvas.rasterize(0, 220, 72, 2, new Float32Array(commands),
      commands.length, strings);
  return {type: "image", _src: {canvasSurface: surface}, _style: {width: 220, height: 72}};
}

var STAR_SVG = '<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" ' +
    'viewBox="0 0 24 24"><path d="M12 2l2.9 6.6 7.1.6-5.4 4.7 1.7 7-6.3-3.8-6.3 3.8 ' +
    '1.7-7L2 9.2l7.1-.6z" fill="#000"/></svg>';

// The canvas card and a star icon, recoloured by its tint.
function pictures() {
  return {type: "view", _style: {flexDirection: "row", gap: 16, alignItems: "center"}, children: [
    canvasCard(),
    {type: "image", _src: {svg: STAR_SVG, tintColor: "#7bd389"}, _style: {width: 56, height: 56}},
  ]};
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
          "models and particles are not built yet.", {color: "#e6e8ee", fontSize: 14}),
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

// ---- The 2D playground ------------------------------------------------------------------
// Critters wander over a meadow of y-sorted trees and rocks, stars circle a spinning coin on a
// parent, and the coins' clip counts its loops. A press drops a crate or a ball where it lands
// in the world; they fall onto a tilemap floor, and a sensor zone tints what is inside it. Drag
// pans the camera; buttons zoom and turn the camera.

var playground2d = null;
var CRITTERS = 300;
var DROPPED_MAX = 120;
var TILE = 32;
var FLOOR_COLS = 40;
var FLOOR_ROWS = 2;
// The cells of the physics atlas, 16 points each: soil, grass, crate, ball, the sensor zone.
var CELL_SOIL = 0, CELL_GRASS = 1, CELL_CRATE = 2, CELL_BALL = 3, CELL_ZONE = 4;

function physicsAtlas() {
  var strings = ["#6b4a2b", "#3f9b4a", "#c98b3a", "#e9edf2", "rgba(90, 160, 255, 0.35)"];
  var commands = [];
  [CELL_SOIL, CELL_GRASS, CELL_CRATE, CELL_ZONE].forEach(function (cell) {
    commands.push(6, cell, 25, cell * 16, 0, 16, 16);
  });
  commands.push(6, CELL_BALL, 14, 20, CELL_BALL * 16 + 8, 8, 7.5, 0, 6.2832, 0, 23, 0);
  return _creator2d.createTextureFromCanvas(
      _creatorCanvas.rasterize(0, 80, 16, 1, new Float32Array(commands), commands.length,
          strings));
}

function cellSprite(scene, atlas, cell, x, y, width, height) {
  var entity = _creator2d.createEntity();
  _creator2d.setSprite(entity, atlas);
  _creator2d.setSpriteFramePx(entity, cell * 16, 0, 16, 16);
  _creator2d.setSpriteSize(entity, width, height);
  _creator2d.setPosition(entity, x, y);
  _creator2d.setLayer(entity, 3);
  _creator2d.addEntityToScene(scene, entity);
  return entity;
}

// Layer 3: a grass-topped floor whose static body is its top and two walls, and a sensor zone
// on it. Bodies are in points: 32 to the metre, gravity about twice the Earth's.
function build2dPhysics(state) {
  var atlas = physicsAtlas();
  var tiles = new Int32Array(FLOOR_COLS * FLOOR_ROWS);
  for (var c = 0; c < FLOOR_COLS; c++) {
    tiles[c] = CELL_GRASS;
    tiles[FLOOR_COLS + c] = CELL_SOIL;
  }
  var floor = _creator2d.createTilemap(atlas, FLOOR_COLS, FLOOR_ROWS, TILE, TILE, 5, 1, tiles);
  var width = TILE * FLOOR_COLS, top = TILE * FLOOR_ROWS;
  _creator2d.setPosition(floor, -width / 2, -200 - top);
  _creator2d.setLayer(floor, 3);
  _creator2d.addEntityToScene(state.scene, floor);

  _creator2d.physicsConfigure(0, -640, 32, 4);
  var ground = _creator2d.physicsCreateBody(floor, 0);
  _creator2d.physicsAddSegment(ground, 0, top, width, top, 0.6, 0.1);
  _creator2d.physicsAddSegment(ground, 0, top, 0, top + 600, 0.6, 0.1);
  _creator2d.physicsAddSegment(ground, width, top, width, top + 600, 0.6, 0.1);

  // The zone stands on the floor, so what lands in it stays tinted; the floor is no visitor.
  var zone = cellSprite(state.scene, atlas, CELL_ZONE, 160, -140, 240, 120);
  // Under the critters, which it does not tint: they have no bodies.
  _creator2d.setLayer(zone, 1);
  _creator2d.setZ(zone, -1);
  _creator2d.physicsAddBox(_creator2d.physicsCreateBody(zone, 0), 120, 60, 0, 0, 1, 0, 0, true);

  state.atlas = atlas;
  state.dropped = [];
  state.drops = 0;
  _creator2d.setOnPhysicsEvent(function (a, b, type) {
    if (a !== zone || b === floor) return;
    if (type === 2) _creator2d.setSpriteColor(b, 1, 0.4, 0.4);
    if (type === 3) _creator2d.setSpriteColor(b, 1, 1, 1);
  });
}

// Crates and balls in turn; past the limit the oldest goes, its body first.
function dropBody(p, world) {
  var ball = p.drops++ % 2 === 1;
  var size = ball ? 28 : 32;
  var entity = cellSprite(p.scene, p.atlas, ball ? CELL_BALL : CELL_CRATE, world[0], world[1],
      size, size);
  var body = _creator2d.physicsCreateBody(entity, 2);
  if (ball) {
    _creator2d.physicsAddCircle(body, size / 2, 0, 0, 1, 0.4, 0.3, false);
  } else {
    _creator2d.physicsAddBox(body, size / 2, size / 2, 0, 0, 1, 0.6, 0.1, false);
  }
  p.dropped.push({entity: entity, body: body});
  if (p.dropped.length > DROPPED_MAX) {
    var oldest = p.dropped.shift();
    _creator2d.physicsRemoveBody(oldest.body);
    _creator2d.destroyEntity(oldest.entity);
  }
}

function spriteAt(scene, texture, frame, x, y, layer) {
  var entity = _creator2d.createEntity();
  _creator2d.setSprite(entity, texture);
  _creator2d.setSpriteFramePx(entity, frame[0] * 16, frame[1] * 16, 16, 16);
  _creator2d.setSpriteSize(entity, 32, 32);
  _creator2d.setPosition(entity, x, y);
  _creator2d.setLayer(entity, layer);
  _creator2d.addEntityToScene(scene, entity);
  return entity;
}

function build2dScene(texture) {
  var scene = _creator2d.createScene();
  _creator2d.sceneSetClearColor(scene, 0.13, 0.2, 0.14, 1);
  // Layer 0: the meadow's trees and rocks, drawn lower-on-screen in front.
  _creator2d.setLayerYSort(scene, 0, true);
  for (var i = 0; i < 60; i++) {
    spriteAt(scene, texture, [1 + (i % 2), 1], Math.random() * 1200 - 600,
        Math.random() * 900 - 450, 0);
  }
  // Layer 1: the critters, moved together each frame.
  var ids = new Int32Array(CRITTERS);
  var positions = new Float32Array(CRITTERS * 2);
  var velocities = [];
  for (var c = 0; c < CRITTERS; c++) {
    positions[2 * c] = Math.random() * 1200 - 600;
    positions[2 * c + 1] = Math.random() * 900 - 450;
    ids[c] = spriteAt(scene, texture, [0, 1], positions[2 * c], positions[2 * c + 1], 1);
    var angle = Math.random() * Math.PI * 2;
    velocities.push(Math.cos(angle) * 60, Math.sin(angle) * 60);
  }
  // Layer 2: a coin on a turning parent, circled by its star children.
  var hub = _creator2d.createEntity();
  var coin = spriteAt(scene, texture, [0, 0], 0, 0, 2);
  _creator2d.setParent(coin, hub, false);
  _creator2d.setSpriteSize(coin, 64, 64);
  for (var s = 0; s < 8; s++) {
    var a = s * Math.PI / 4;
    var star = spriteAt(scene, texture, [3, 1], 0, 0, 2);
    _creator2d.setParent(star, hub, false);
    _creator2d.setPosition(star, Math.cos(a) * 110, Math.sin(a) * 110);
  }
  var frames = new Float32Array(16);
  for (var f = 0; f < 4; f++) frames.set([f / 4, 0, (f + 1) / 4, 0.5], f * 4);
  _creator2d.playAnimation(coin, _creator2d.defineAnimation(coin, frames, 8, true));

  var state = {scene: scene, ids: ids, positions: positions, velocities: velocities, hub: hub,
    camera: {x: 0, y: 0, zoom: 1, rotation: 0}, loops: 0, label: null, press: null, turn: 0};
  _creator2d.setOnAnimEvent(function (event) {
    if (event.type !== 0) return;
    state.loops++;
    if (state.label && state.label._id) {
      _creatorUI.updateNode(state.label._id, "text", "Coin loops: " + state.loops);
    }
  });
  build2dPhysics(state);
  return state;
}

function step2d(dt) {
  var p = playground2d;
  for (var c = 0; c < CRITTERS; c++) {
    for (var k = 0; k < 2; k++) {
      var i = 2 * c + k;
      p.positions[i] += p.velocities[i] * dt;
      var limit = k === 0 ? 600 : 450;
      if (p.positions[i] < -limit || p.positions[i] > limit) p.velocities[i] = -p.velocities[i];
    }
  }
  _creator2d.bulkSetPositions(p.ids, p.positions, CRITTERS);
  p.turn += dt * 30;
  _creator2d.setRotation(p.hub, p.turn);
}

function applyCamera() {
  var c = playground2d.camera;
  _creator2d.cameraSetPosition(playground2d.scene, c.x, c.y);
  _creator2d.cameraSetZoom(playground2d.scene, c.zoom);
  _creator2d.cameraSetRotation(playground2d.scene, c.rotation);
}

// A press drops a body at its place in the world; a drag pans by the world distance under the
// pointer.
function onPointer2d(phase, id, x, y) {
  var p = playground2d;
  var world = _creator2d.cameraScreenToWorld(p.scene, x, y);
  if (phase === 0) {
    p.press = {world: world};
    dropBody(p, world);
    return;
  }
  if (!p.press) return;
  if (phase === 1) {
    p.camera.x += p.press.world[0] - world[0];
    p.camera.y += p.press.world[1] - world[1];
    applyCamera();
    return;
  }
  p.press = null;
}

function smallButton(label, onClick) {
  var b = button(label, onClick);
  b._style.paddingHorizontal = 14;
  b._style.paddingVertical = 8;
  return b;
}

function playground2dScreen() {
  var label = text("Coin loops: 0", {color: "#ffffff", fontSize: 14});
  playground2d.label = label;
  var zoom = function (factor) {
    return function () {
      playground2d.camera.zoom = Math.max(0.25, Math.min(4, playground2d.camera.zoom * factor));
      applyCamera();
    };
  };
  return {
    type: "screen",
    _style: {backgroundColor: "transparent", padding: 32, gap: 12},
    children: [
      text("2D playground", {color: "#ffffff", fontSize: 24, fontWeight: 600}),
      text(CRITTERS + " critters moved in one call per frame, a y-sorted meadow, stars on a " +
          "turning parent, a clip and physics. Press to drop a crate or a ball; the blue zone " +
          "tints what enters it. Drag to pan.",
          {color: "#e6e8ee", fontSize: 14}),
      label,
      {type: "view", _style: {flexDirection: "row", gap: 8}, children: [
        smallButton("Zoom in", zoom(1.25)),
        smallButton("Zoom out", zoom(0.8)),
        smallButton("Rotate", function () {
          playground2d.camera.rotation = (playground2d.camera.rotation + 15) % 360;
          applyCamera();
        }),
        smallButton("Back", function () {
          console.log("[launcher] leaving the 2D playground");
          _creator2d.offUpdate(step2d);
          _creator2d.setOnPointer(null);
          _creator2d.closeScene();
          _creatorUI.routerPop(-1);
        }),
      ]},
    ],
  };
}

function open2dPlayground() {
  console.log("[launcher] opening the 2D playground");
  if (!playground2d) {
    playground2d = {pending: true};
    _creator2d.createTexture(_creatorUtils.fetchLocal("textures/sprites.png"),
        function (texture, width, height) {
          console.log("[launcher] sprite sheet " + width + "x" + height);
          playground2d = build2dScene(texture);
          enter2dPlayground();
        },
        function (error) { console.log("[launcher] sprite sheet failed: " + error.message); });
    return;
  }
  if (!playground2d.pending) enter2dPlayground();
}

function enter2dPlayground() {
  _creatorUI.routerPush(playground2dScreen());
  _creator2d.onUpdate(step2d);
  _creator2d.setOnPointer(onPointer2d);
  applyCamera();
  _creator2d.openScene(playground2d.scene);
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
  children.splice(1, 0, button("3D playground", open3dPlayground),
      button("2D playground", open2dPlayground));
  children.push(pictures());
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
