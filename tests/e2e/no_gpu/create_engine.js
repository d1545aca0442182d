// Without a usable GPU, createEngine says so once and every 3D row after it answers neutrally.
_creator.createEngine([]);
var scene = _creator.createScene();
var entity = _creator.createEntity();
_creator.setPosition(entity, 1, 2, 3);
_creator.openScene(scene);
console.log("scene " + scene + ", entity " + entity + ", visible " + _creator.isVisible(entity));
setTimeout(function () { console.log("still running"); }, 10);
