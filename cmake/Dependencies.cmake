# Every library that Quillant builds on, as imported targets. packaging/apt-packages.txt names the packages.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)

function(quillant_pkg name)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET ${ARGN})
endfunction()

quillant_pkg(FFMPEG libavcodec libavformat libavutil libswresample libswscale)
quillant_pkg(AVDEVICE libavdevice libavfilter)
quillant_pkg(X264 x264)
quillant_pkg(HWY libhwy)
quillant_pkg(RUBBERBAND rubberband)
quillant_pkg(XCB xcb xcb-shm xcb-damage xcb-xfixes xcb-randr xcb-xinput xcb-composite)
quillant_pkg(PULSE libpulse)
quillant_pkg(CURL libcurl)
quillant_pkg(SECRET libsecret-1)
quillant_pkg(CAIRO cairo)
quillant_pkg(PANGO pangocairo)
quillant_pkg(PNG libpng)

find_library(YUV_LIBRARY yuv REQUIRED)
find_path(YUV_INCLUDE_DIR libyuv.h REQUIRED)
add_library(yuv::yuv UNKNOWN IMPORTED)
set_target_properties(yuv::yuv PROPERTIES IMPORTED_LOCATION ${YUV_LIBRARY}
                                          INTERFACE_INCLUDE_DIRECTORIES ${YUV_INCLUDE_DIR})
