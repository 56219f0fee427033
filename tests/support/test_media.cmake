# Small clips for tests, generated at build time: the target zuv_test_media, the folder ZUV_TEST_MEDIA_DIR. Folders that
# are added later see both.
#   clip.webm                                      3 s of 320x240 VP8 and Vorbis, no other quality beside it
#   qualities.webm, .120p.webm, .240p.webm         the same medium in three files
#   long.webm                                      60 s in 11 MB, more than a reader fetches ahead
#   tone.ogg                                       sound only
#   not-media.txt, cut-short.webm                  what cannot be played; the second ends before its first frame
set(ZUV_TEST_MEDIA_DIR ${CMAKE_BINARY_DIR}/test-media CACHE INTERNAL "Clips for tests")
file(MAKE_DIRECTORY ${ZUV_TEST_MEDIA_DIR})

function(generate_clip name)
    add_custom_command(
        OUTPUT ${ZUV_TEST_MEDIA_DIR}/${name}
        COMMAND ${PROJECT_SOURCE_DIR}/scripts/make-clip ${ZUV_TEST_MEDIA_DIR}/${name} ${ARGN}
        DEPENDS ${PROJECT_SOURCE_DIR}/scripts/make-clip
        COMMENT "Generating ${name}"
        VERBATIM)
endfunction()

generate_clip(clip.webm 3)
generate_clip(qualities.webm 3 smpte 480)
generate_clip(qualities.120p.webm 3 smpte 120)
generate_clip(qualities.240p.webm 3 smpte 240)

# Noise, because nothing else takes as many bytes.
add_custom_command(
    OUTPUT ${ZUV_TEST_MEDIA_DIR}/long.webm
    COMMAND gst-launch-1.0 -q videotestsrc num-buffers=300 pattern=snow
        ! video/x-raw,width=320,height=240,framerate=5/1
        ! vp8enc deadline=1 cpu-used=8 target-bitrate=1500000 keyframe-max-dist=5 ! webmmux
        ! filesink location=${ZUV_TEST_MEDIA_DIR}/long.webm
    COMMENT "Generating long.webm"
    VERBATIM)

add_custom_command(
    OUTPUT ${ZUV_TEST_MEDIA_DIR}/tone.ogg
    COMMAND gst-launch-1.0 -q audiotestsrc num-buffers=130 ! audioconvert ! vorbisenc ! oggmux
        ! filesink location=${ZUV_TEST_MEDIA_DIR}/tone.ogg
    COMMENT "Generating tone.ogg"
    VERBATIM)

file(WRITE ${ZUV_TEST_MEDIA_DIR}/not-media.txt "This is no medium.\n")

add_custom_command(
    OUTPUT ${ZUV_TEST_MEDIA_DIR}/cut-short.webm
    COMMAND head -c 4000 ${ZUV_TEST_MEDIA_DIR}/clip.webm > ${ZUV_TEST_MEDIA_DIR}/cut-short.webm
    DEPENDS ${ZUV_TEST_MEDIA_DIR}/clip.webm
    COMMENT "Generating cut-short.webm"
    VERBATIM)

add_custom_target(zuv_test_media DEPENDS
    ${ZUV_TEST_MEDIA_DIR}/clip.webm
    ${ZUV_TEST_MEDIA_DIR}/qualities.webm
    ${ZUV_TEST_MEDIA_DIR}/qualities.120p.webm
    ${ZUV_TEST_MEDIA_DIR}/qualities.240p.webm
    ${ZUV_TEST_MEDIA_DIR}/long.webm
    ${ZUV_TEST_MEDIA_DIR}/tone.ogg
    ${ZUV_TEST_MEDIA_DIR}/cut-short.webm)
