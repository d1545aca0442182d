// A 2D bundle whose coins never move: the self-test must fail it, as nothing falls.

var scene = _creator2d.createScene();
_creator2d.createTexture(_creatorUtils.fetchLocal("textures/sprites.png"), function (texture) {
  for (var i = 0; i < 12; i++) {
    var coin = _creator2d.createEntity();
    _creator2d.setSprite(coin, texture);
    _creator2d.setSpriteFramePx(coin, 0, 0, 16, 16);
    _creator2d.setSpriteSize(coin, 48, 48);
    _creator2d.setPosition(coin, -330 + i * 60, 230);
    _creator2d.addEntityToScene(scene, coin);
  }
  _creator2d.openScene(scene);
  console.log("[bundle2d] still scene opened");
}, function (error) { console.log("[bundle2d] sprite sheet failed: " + error.message); });
