// Contexts: what is selected into them, their modes and their end.
#include <new>

#include "krdcmmn/platform/gdi.h"
#include "krdcmmn/platform/gdi_objects.h"
#include "krdcmmn/platform/gdi_stock.h"

namespace krgdi {

namespace {

Context* NewContext(Bitmap* bitmap) {
  auto* context = new (std::nothrow) Context;
  if (context == nullptr) {
    return nullptr;
  }
  Stock& stock = TheStock();
  context->own = {&context->own_pixel, 1, 1, 1};
  context->bitmap = bitmap != nullptr ? bitmap : &stock.bitmap;
  context->canvas = bitmap != nullptr ? &bitmap->canvas : &context->own;
  context->of_window = bitmap != nullptr;
  context->pen = &stock.black_pen;
  context->brush = &stock.white_brush;
  context->font = &stock.font;
  context->background_mode = OPAQUE;
  context->map_mode = MM_TEXT;
  context->raster_operation = R2_COPYPEN;
  if (!Enter(context)) {
    delete context;
    return nullptr;
  }
  return context;
}

HDC HandleOf(const Context* context) {
  return context != nullptr ? static_cast<HDC>(context->handle) : nullptr;
}

void Hold(Object* object) {
  object->holders += object->stock ? 0 : 1;
}
void GiveBack(Object* object) {
  object->holders -= object->stock ? 0 : 1;
}

void FreeContext(Context* context) {
  GiveBack(context->pen);
  GiveBack(context->brush);
  GiveBack(context->font);
  if (!context->of_window) {
    GiveBack(context->bitmap);
  }
  Remove(context);
  delete context;
}

// Puts `object` in the context's place of its kind and gives what was there.
template <class Made>
HGDIOBJ Exchange(Made*& place, Object* object) {
  Object* former = place;
  Hold(object);
  GiveBack(former);
  place = static_cast<Made*>(object);
  return static_cast<HGDIOBJ>(former->handle);
}

HGDIOBJ ExchangeBitmap(Context* context, Object* object) {
  if (object == context->bitmap) {
    return static_cast<HGDIOBJ>(object->handle);
  }
  if (context->of_window || object->holders > 0) {
    return nullptr;
  }
  const HGDIOBJ former = Exchange(context->bitmap, object);
  context->canvas = object->stock ? &context->own : &context->bitmap->canvas;
  return former;
}

// Sets a mode of a context to one of the allowed values and gives the former; 0 changes nothing.
int SetMode(HDC dc, int Context::*mode, int value, bool allowed) {
  Context* context = FindContext(dc);
  if (context == nullptr || !allowed) {
    return 0;
  }
  const int former = context->*mode;
  context->*mode = value;
  return former;
}

BOOL SetUnitExtent(HDC dc, int x, int y, SIZE* former) {
  if (FindContext(dc) == nullptr || x != 1 || y != 1) {
    return FALSE;
  }
  if (former != nullptr) {
    *former = {1, 1};
  }
  return TRUE;
}

}  // namespace

HDC MakeWindowContext(Bitmap* bitmap) {
  return HandleOf(NewContext(bitmap));
}

void FreeWindowContext(HDC dc) {
  Context* context = FindContext(dc);
  if (context != nullptr && context->of_window) {
    FreeContext(context);
  }
}

}  // namespace krgdi

inline namespace krplatform {

using namespace krgdi;

HDC CreateCompatibleDC(HDC dc) {
  if (dc != nullptr && FindContext(dc) == nullptr) {
    return nullptr;
  }
  return HandleOf(NewContext(nullptr));
}

BOOL DeleteDC(HDC dc) {
  Context* context = FindContext(dc);
  if (context == nullptr || context->of_window) {
    return FALSE;
  }
  FreeContext(context);
  return TRUE;
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ handle) {
  Context* context = FindContext(dc);
  Object* object = Find(handle);
  if (context == nullptr || object == nullptr) {
    return nullptr;
  }
  switch (object->kind) {
    case Kind::pen:
      return Exchange(context->pen, object);
    case Kind::brush:
      return Exchange(context->brush, object);
    case Kind::font:
      return Exchange(context->font, object);
    case Kind::bitmap:
      return ExchangeBitmap(context, object);
    case Kind::context:
      break;
  }
  return nullptr;
}

HGDIOBJ GetCurrentObject(HDC dc, UINT kind) {
  const Context* context = FindContext(dc);
  const Object* object = nullptr;
  if (context != nullptr) {
    switch (kind) {
      case OBJ_PEN:
        object = context->pen;
        break;
      case OBJ_BRUSH:
        object = context->brush;
        break;
      case OBJ_FONT:
        object = context->font;
        break;
      case OBJ_BITMAP:
        object = context->bitmap;
        break;
      default:
        break;
    }
  }
  return object != nullptr ? static_cast<HGDIOBJ>(object->handle) : nullptr;
}

int SetBkMode(HDC dc, int mode) {
  return SetMode(dc, &Context::background_mode, mode, mode == TRANSPARENT || mode == OPAQUE);
}

int SetMapMode(HDC dc, int mode) {
  return SetMode(dc, &Context::map_mode, mode, mode == MM_TEXT || mode == MM_ISOTROPIC);
}

int SetROP2(HDC dc, int operation) {
  return SetMode(dc, &Context::raster_operation, operation,
                 operation == R2_XORPEN || operation == R2_COPYPEN);
}

int GetROP2(HDC dc) {
  const Context* context = FindContext(dc);
  return context != nullptr ? context->raster_operation : 0;
}

BOOL SetWindowExtEx(HDC dc, int x, int y, SIZE* former) {
  return SetUnitExtent(dc, x, y, former);
}

BOOL SetViewportExtEx(HDC dc, int x, int y, SIZE* former) {
  return SetUnitExtent(dc, x, y, former);
}

BOOL GetViewportOrgEx(HDC dc, POINT* origin) {
  const Context* context = FindContext(dc);
  if (context == nullptr || origin == nullptr) {
    return FALSE;
  }
  *origin = context->origin;
  return TRUE;
}

BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* former) {
  Context* context = FindContext(dc);
  if (context == nullptr) {
    return FALSE;
  }
  if (former != nullptr) {
    *former = context->origin;
  }
  context->origin = {x, y};
  return TRUE;
}

BOOL GetPixels(HDC dc, PIXELS* out) {
  const Context* context = FindContext(dc);
  if (context == nullptr || out == nullptr) {
    return FALSE;
  }
  const krraster::Canvas& canvas = *context->canvas;
  *out = {canvas.data, canvas.width, canvas.height, static_cast<int>(canvas.stride)};
  return TRUE;
}

}  // namespace krplatform
