// The 2D self-test's bundle: no screen, one scene. A row of coins from the bundled sprite sheet
// starts near the top and falls through the script's update function, so the settled frame has
// its content lower down than the first. The coins' clip reports its loops after each frame.

function log(message) {
  console.log("[bundle2d] " + message);
}

var scene = _creator2d.createScene();
_creator2d.sceneSetClearColor(scene, 0.05, 0.05, 0.08, 1);
var coins = [];
var loops = 0;

_creator2d.setOnAnimEvent(function (event) {
  if (event.type === 0 && loops++ === 0) log("first loop of clip " + event.clipId);
});

_creator2d.createTexture(_creatorUtils.fetchLocal("textures/sprites.png"),
    function (texture, width, height) {
      log("sprite sheet " + width + "x" + height + ", backend " + _creator2d.backend);
      var frames = new Float32Array([0, 0, 0.25, 0.5, 0.25, 0, 0.5, 0.5, 0.5, 0, 0.75, 0.5,
        0.75, 0, 1, 0.5]);
      for (var i = 0; i < 12; i++) {
        var coin = _creator2d.createEntity();
        _creator2d.setSprite(coin, texture);
        _creator2d.setSpriteSize(coin, 48, 48);
        _creator2d.setPosition(coin, -330 + i * 60, 230);
        _creator2d.playAnimation(coin, _creator2d.defineAnimation(coin, frames, 12, true));
        _creator2d.addEntityToScene(scene, coin);
        coins.push(coin);
      }
      _creator2d.onUpdate(function (dt) {
        for (var i = 0; i < coins.length; i++) {
          var at = _creator2d.getPosition(coins[i]);
          _creator2d.setPosition(coins[i], at[0], at[1] - 180 * dt);
        }
      });
      _creator2d.openScene(scene);
      log("scene " + scene + " opened");
    },
    function (error) { log("sprite sheet failed: " + error.message); });
