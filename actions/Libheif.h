#pragma once

#include <libheif/heif.h>

// The libheif functions Kestro uses, from the library loaded at the first HEIF photo. Linking libheif would
// bind it and its codecs (x265, aom, dav1d, libde265) at the start of every kestro process, about 3 ms here,
// for the few processes that ever meet such a photo.
#define KESTRO_LIBHEIF_FUNCTIONS(X)                                                                          \
    X(heif_init)                                                                                             \
    X(heif_check_filetype)                                                                                   \
    X(heif_get_file_mime_type)                                                                               \
    X(heif_have_decoder_for_format)                                                                          \
    X(heif_have_encoder_for_format)                                                                          \
    X(heif_context_alloc)                                                                                    \
    X(heif_context_free)                                                                                     \
    X(heif_context_read_from_file)                                                                           \
    X(heif_context_get_primary_image_handle)                                                                 \
    X(heif_context_get_encoder_for_format)                                                                   \
    X(heif_context_encode_image)                                                                             \
    X(heif_context_add_exif_metadata)                                                                        \
    X(heif_context_add_XMP_metadata)                                                                         \
    X(heif_context_write)                                                                                    \
    X(heif_image_handle_release)                                                                             \
    X(heif_image_handle_get_width)                                                                           \
    X(heif_image_handle_get_height)                                                                          \
    X(heif_image_handle_has_alpha_channel)                                                                   \
    X(heif_image_handle_get_color_profile_type)                                                              \
    X(heif_image_handle_get_raw_color_profile_size)                                                          \
    X(heif_image_handle_get_raw_color_profile)                                                               \
    X(heif_image_handle_get_number_of_metadata_blocks)                                                       \
    X(heif_image_handle_get_list_of_metadata_block_IDs)                                                      \
    X(heif_image_handle_get_metadata_content_type)                                                           \
    X(heif_image_handle_get_metadata_size)                                                                   \
    X(heif_image_handle_get_metadata)                                                                        \
    X(heif_decode_image)                                                                                     \
    X(heif_image_create)                                                                                     \
    X(heif_image_add_plane)                                                                                  \
    X(heif_image_get_plane)                                                                                  \
    X(heif_image_get_plane_readonly)                                                                         \
    X(heif_image_get_width)                                                                                  \
    X(heif_image_get_height)                                                                                 \
    X(heif_image_set_raw_color_profile)                                                                      \
    X(heif_image_release)                                                                                    \
    X(heif_encoder_set_lossy_quality)                                                                        \
    X(heif_encoder_release)

struct Libheif {
#define KESTRO_LIBHEIF_POINTER(name) decltype(&::name) name = nullptr;
    KESTRO_LIBHEIF_FUNCTIONS(KESTRO_LIBHEIF_POINTER)
#undef KESTRO_LIBHEIF_POINTER

    // The library, loaded and initialised on the first call; nullptr when it is not installed.
    static const Libheif* get();
};
