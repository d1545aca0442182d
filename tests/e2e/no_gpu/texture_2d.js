// Without a GL device the 2D tables still work: a texture decodes and keeps its size, and a
// scene opens, though nothing is drawn.
var scene = _creator2d.createScene();
_creator2d.createTexture(_creatorUtils.fetchLocal("textures/sprites.png"),
    function (texture, width, height) {
      var sprite = _creator2d.createEntity();
      _creator2d.setSprite(sprite, texture);
      _creator2d.addEntityToScene(scene, sprite);
      _creator2d.openScene(scene);
      console.log("texture " + texture + ": " + width + "x" + height + ", sprite " +
          _creator2d.pickSprite(scene, 0, 0) + " at the origin");
    },
    function (error) { console.log("texture failed: " + error.message); });
