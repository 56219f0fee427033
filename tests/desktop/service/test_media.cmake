# Small clips for tests, generated at build time: the target zuv_test_media, the folder ZUV_TEST_MEDIA_DIR. Folders that
# are added later see both.
#   clip.webm                                      3 s of 320x240 VP8 and Vorbis, no other quality beside it
#   qualities.webm, .120p.webm, .240p.webm         the same medium in three files
#   tone.ogg                                       sound only
#   not-media.txt, cut-short.webm                  what cannot be played; the second ends before its first frame
find_program(GST_LAUNCH gst-launch-1.0 REQUIRED)
set(ZUV_TEST_MEDIA_DIR ${CMAKE_BINARY_DIR}/test-media CACHE INTERNAL "Clips for tests")
file(MAKE_DIRECTORY ${ZUV_TEST_MEDIA_DIR})

function(generate_clip name width height)
    add_custom_command(
        OUTPUT ${ZUV_TEST_MEDIA_DIR}/${name}
        COMMAND ${GST_LAUNCH} -q webmmux name=mux ! filesink location=${ZUV_TEST_MEDIA_DIR}/${name}
            videotestsrc num-buffers=75 ! video/x-raw,width=${width},height=${height},framerate=25/1
                ! vp8enc deadline=1 keyframe-max-dist=25 ! mux.
            audiotestsrc num-buffers=130 ! audioconvert ! vorbisenc ! mux.
        COMMENT "Generating ${name}"
        VERBATIM)
endfunction()

generate_clip(clip.webm 320 240)
generate_clip(qualities.webm 640 480)
generate_clip(qualities.120p.webm 160 120)
generate_clip(qualities.240p.webm 320 240)

add_custom_command(
    OUTPUT ${ZUV_TEST_MEDIA_DIR}/tone.ogg
    COMMAND ${GST_LAUNCH} -q audiotestsrc num-buffers=130 ! audioconvert ! vorbisenc ! oggmux
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
    ${ZUV_TEST_MEDIA_DIR}/tone.ogg
    ${ZUV_TEST_MEDIA_DIR}/cut-short.webm)
