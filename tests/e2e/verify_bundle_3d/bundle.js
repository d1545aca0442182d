// preload: uberarchive
// The 3D self-test's bundle: no screen, one scene. A red square faces the camera at the centre
// and a blue one sits at the top left, so the render shows both its colour and which way is
// up. A touch on the scene is tracked with a move listener, as the drag step wants.

function log(message) {
  console.log("[bundle3d] " + message);
}

function square(scene, material, x, y, size) {
  var h = size / 2;
  var entity = _creator.createEntity();
  _creator.setMesh(entity, material,
      new Float32Array([x - h, y - h, 0, x + h, y - h, 0, x + h, y + h, 0, x - h, y + h, 0]),
      new Float32Array([0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1]),
      new Uint16Array([0, 1, 2, 0, 2, 3]),
      new Float32Array([0, 0, 1, 0, 1, 1, 0, 1]), 0);
  _creator.addEntityToScene(scene, entity);
  return entity;
}

var scene = _creator.createScene();
var camera = _creator.createEntity();
_creator.attachCameraToAR(scene, camera);
_creator.setPosition(camera, 0, 0, 5);

var colour = _creatorUtils.fetchLocal("materials/unlit_color.filamat");
var red = _creator.createMaterial(colour);
_creator.setUniformRgba(red, "baseColor", 0xff0000ff);
var blue = _creator.createMaterial(colour);
_creator.setUniformRgba(blue, "baseColor", 0x0000ffff);
square(scene, red, 0, 0, 2);
square(scene, blue, -3, 1.8, 0.6);

var moves = 0;
_creatorUI.registerTouchStartEvent(function (pointerId, x, y) {
  log("touch start " + pointerId + " at " + x + "," + y);
  return {
    onMove: function () { moves++; },
    onEnd: function (event) {
      log("touch end at " + event.clientX + "," + event.clientY + " after " + moves + " moves");
    },
  };
});

_creator.openScene(scene);
log("scene " + scene + " opened, backend " + _creator.backend + ", system " +
    _creatorUtils.systemInfo().backend);
