// A box falls onto a floor in the host's window. Its contact reaches the script with the
// entities the script made, the box comes to rest on the floor, and a pick through the centre
// of the view finds it. Time is counted in frame steps, so a slow machine only takes longer.

function log(message) {
  console.log("[physics3d] " + message);
}

_creator.createEngine([]);
var scene = _creator.createScene();
var camera = _creator.createEntity();
_creator.attachCameraToAR(scene, camera);
_creator.setPosition(camera, 0, 1, 8);

// A slab whose top is at y = 0, and a box of side 2 that starts 3 above it.
var floor = _creator.createEntity();
_creator.setPosition(floor, 0, -0.5, 0);
_creator.addEntityToScene(scene, floor);
_creator.physicsCreateBox(floor, 10, 0.5, 10, 0, 0);
var box = _creator.createEntity();
_creator.setPosition(box, 0, 4, 0);
_creator.addEntityToScene(scene, box);
_creator.physicsCreateBox(box, 1, 1, 1, 2, 0);

var names = {};
names[floor] = "floor";
names[box] = "box";
_creator.setOnPhysicsEvent(function (a, b, type) {
  log("(" + names[a] + ", " + names[b] + ", " + type + ")");
});

var simulated = 0;
var reported = false;
_creator.setEarlyUpdate(function (dt) {
  simulated += dt;
  if (reported || simulated < 3) return;
  reported = true;
  var at = new Float32Array(3);
  _creator.getWorldPosition(box, at);
  log("the box rests at y = " + at[1].toFixed(2));
  var size = _creator.getDisplaySize();
  var picked = _creator.raycastView(size[0] / 2, size[1] / 2);
  log("the centre of the view picks the " + (names[picked] || "entity " + picked));
  log("done");
});

_creator.openScene(scene);
log("scene " + scene + " opened");
