// The 2D physics self-test's bundle: a row of boxes falls by physics onto a tilemap floor, whose
// static body is one segment along its top. The event function logs each box's first contact
// with the floor, so every box lands exactly once in the output however often it settles.

function log(message) {
  console.log("[physics2d] " + message);
}

var BOXES = 8;
var TILE = 32;
var COLS = 25;
var ROWS = 2;

var scene = _creator2d.createScene();
_creator2d.sceneSetClearColor(scene, 0.05, 0.05, 0.08, 1);

// An atlas of three cells drawn by the canvas: soil, grass and a box.
var colours = ["#6b4a2b", "#3f9b4a", "#c98b3a"];
var commands = [];
for (var k = 0; k < colours.length; k++) commands.push(6, k, 25, k * 16, 0, 16, 16);
var atlas = _creator2d.createTextureFromCanvas(_creatorCanvas.rasterize(0, 48, 16, 1,
    new Float32Array(commands), commands.length, colours));

// Grass over soil along the bottom of the 800 × 600 view, its top at y -236.
var tiles = new Int32Array(COLS * ROWS);
for (var c = 0; c < COLS; c++) {
  tiles[c] = 1;
  tiles[COLS + c] = 0;
}
var floor = _creator2d.createTilemap(atlas, COLS, ROWS, TILE, TILE, 3, 1, tiles);
_creator2d.setPosition(floor, -400, -300);
_creator2d.addEntityToScene(scene, floor);

_creator2d.physicsConfigure(0, -1200, 40, 4);
var ground = _creator2d.physicsCreateBody(floor, 0);
_creator2d.physicsAddSegment(ground, 0, TILE * ROWS, TILE * COLS, TILE * ROWS, 0.6, 0);

var boxes = {};
for (var i = 0; i < BOXES; i++) {
  var box = _creator2d.createEntity();
  _creator2d.setSprite(box, atlas);
  _creator2d.setSpriteFramePx(box, 32, 0, 16, 16);
  _creator2d.setSpriteSize(box, 40, 40);
  _creator2d.setPosition(box, -350 + i * 100, 200 + (i % 2) * 40);
  _creator2d.addEntityToScene(scene, box);
  _creator2d.physicsAddBox(_creator2d.physicsCreateBody(box, 2), 20, 20, 0, 0, 1, 0.6, 0, false);
  boxes[box] = {index: i, landed: false};
}

_creator2d.setOnPhysicsEvent(function (a, b, type) {
  if (type !== 0) return;
  var box = a === floor ? boxes[b] : b === floor ? boxes[a] : undefined;
  if (!box || box.landed) return;
  box.landed = true;
  log("box " + box.index + " landed");
});

_creator2d.openScene(scene);
log(BOXES + " boxes over a tilemap floor in scene " + scene + ", physics " +
    (_creator2d.physicsHasSupport() ? "on" : "off"));
