// librsvg renders the SVG onto a surface of cairo, which writes the PNG.

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <cmath>
#include <memory>

#include "console/picture.h"

namespace lisp_worker::console {
namespace {

struct Release {
  void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
  void operator()(GError* failure) const { g_error_free(failure); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* pen) const { cairo_destroy(pen); }
};

template <typename T>
using Owned = std::unique_ptr<T, Release>;

cairo_status_t appendBytes(void* bytes, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::optional<std::string> renderPng(const std::string& svg, std::string& error) {
  if (svg.size() > kRenderedSizeMax) {
    error = "the picture has more than 16 MiB of shapes to render; write it as .svg";
    return std::nullopt;
  }
  GError* failure = nullptr;
  const Owned<RsvgHandle> handle(rsvg_handle_new_from_data(
      reinterpret_cast<const unsigned char*>(svg.data()), svg.size(), &failure));
  if (handle == nullptr) {
    const Owned<GError> owned(failure);
    error = std::string("the picture cannot be rendered: ") + failure->message;
    return std::nullopt;
  }
  double width = 0;
  double height = 0;
  rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &width, &height);
  const Owned<cairo_surface_t> surface(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(std::ceil(width)),
                                 static_cast<int>(std::ceil(height))));
  const Owned<cairo_t> pen(cairo_create(surface.get()));
  const RsvgRectangle page = {0, 0, width, height};
  if (rsvg_handle_render_document(handle.get(), pen.get(), &page, &failure) == 0) {
    const Owned<GError> owned(failure);
    error = std::string("the picture cannot be rendered: ") + failure->message;
    return std::nullopt;
  }
  std::string bytes;
  const cairo_status_t status =
      cairo_surface_write_to_png_stream(surface.get(), appendBytes, &bytes);
  if (status != CAIRO_STATUS_SUCCESS) {
    error = std::string("the picture cannot be rendered: ") + cairo_status_to_string(status);
    return std::nullopt;
  }
  return bytes;
}

}  // namespace lisp_worker::console
