#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

void c2dSetSprite(int32_t entity, int32_t texture) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->kind = 1;
  e->texture = texture;
  e->u0 = 0;
  e->v0 = 0;
  e->u1 = 1;
  e->v1 = 1;
  // The size follows the texture, replacing any size set before.
  if (const Texture2D* t = liveTexture(texture)) {
    e->width = static_cast<float>(t->width);
    e->height = static_cast<float>(t->height);
  }
}

void c2dSetSpriteFrame(int32_t entity, float u0, float v0, float u1, float v1) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->u0 = u0;
  e->v0 = v0;
  e->u1 = u1;
  e->v1 = v1;
}

void c2dSetSpriteFramePx(int32_t entity, float x, float y, float w, float h) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  const Texture2D* t = liveTexture(e->texture);
  if (!t || t->width < 1 || t->height < 1) return;
  float width = static_cast<float>(t->width);
  float height = static_cast<float>(t->height);
  c2dSetSpriteFrame(entity, x / width, y / height, (x + w) / width, (y + h) / height);
}

void c2dSetSpriteSize(int32_t entity, float width, float height) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->width = width;
  e->height = height;
}

void c2dSetSpriteAnchor(int32_t entity, float x, float y) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->anchorX = x;
  e->anchorY = y;
}

void c2dSetSpriteColor(int32_t entity, float r, float g, float b) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->colorR = r;
  e->colorG = g;
  e->colorB = b;
}

void c2dSetSpriteOpacity(int32_t entity, float a) {
  if (Entity2D* e = liveEntity(entity)) e->colorA = a;
}

void c2dSetSpriteFlip(int32_t entity, bool x, bool y) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->flipX = x;
  e->flipY = y;
}
