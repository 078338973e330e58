#pragma once

#include "packaging/wallpapers/Picture.h"

namespace quillant::Wallpapers {

Color silk(Place place);
Color dunes(Place place);
Color aurora(Place place);
Color ridges(Place place);
Color petals(Place place);
Color ember(Place place);
Color papercut(Place place);
Color bubbles(Place place);
Color lacquer(Place place);
Color contours(Place place);
Color reeds(Place place);
Color sunset(Place place);
Color ripples(Place place);
Color strands(Place place);
Color shards(Place place);
Color tide(Place place);
Color hills(Place place);
Color orbit(Place place);

/// In the order of the wallpapers' numbers.
inline constexpr Painter painters[] = {silk,     dunes,   aurora,  ridges,   petals, ember,
                                       papercut, bubbles, lacquer, contours, reeds,  sunset,
                                       ripples,  strands, shards,  tide,     hills,  orbit};

}  // namespace quillant::Wallpapers
