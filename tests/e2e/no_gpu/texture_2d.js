// Without a GL device the 2D tables still work: a texture fetched from the test's server decodes
// and keeps its size, and a scene opens, though nothing is drawn. The test puts the sheet's
// address in `sheetUrl` before this. A request is no pending work of the process, so an interval
// keeps it alive until the answer is in.
var scene = _creator2d.createScene();
var waiting = setInterval(function () {}, 50);
_creatorUtils.fetch(sheetUrl, {}, function (id, status) {
  _creator2d.createTexture(id, function (texture, width, height) {
    var sprite = _creator2d.createEntity();
    _creator2d.setSprite(sprite, texture);
    _creator2d.addEntityToScene(scene, sprite);
    _creator2d.openScene(scene);
    console.log("texture " + texture + ": " + width + "x" + height + ", sprite " +
        _creator2d.pickSprite(scene, 0, 0) + " at the origin");
    clearInterval(waiting);
  }, function (error) { console.log("texture failed: " + error.message); clearInterval(waiting); });
}, function (error) { console.log("fetch failed: " + error); clearInterval(waiting); });
