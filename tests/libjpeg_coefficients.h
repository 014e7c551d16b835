// Quantized coefficients of a JPEG file as libjpeg-turbo reads them (jpeg_read_coefficients), for
// tests and benchmarks that compare against an independent codec.
#pragma once

#include "huffman_enc_model.h"

#include <cstdio>
#include <jpeglib.h>

#include <cstdint>
#include <vector>

namespace lumtest {

// The coefficients of one component: the blocks of libjpeg's coefficient array, which is padded to
// whole MCUs of the component, in raster order.
struct ComponentBlocks {
    int cols = 0, rows = 0;
    std::vector<model::Block> blocks;
    const model::Block& at(int row, int col) const { return blocks.at(static_cast<size_t>(row * cols + col)); }
};

inline std::vector<ComponentBlocks> readCoefficients(const std::vector<uint8_t>& file)
{
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr err;
    cinfo.err = jpeg_std_error(&err);
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&cinfo, TRUE);
    jvirt_barray_ptr* arrays = jpeg_read_coefficients(&cinfo);
    std::vector<ComponentBlocks> out(static_cast<size_t>(cinfo.num_components));
    for (int c = 0; c < cinfo.num_components; ++c) {
        const jpeg_component_info& comp = cinfo.comp_info[c];
        auto& cb = out[static_cast<size_t>(c)];
        const auto roundUp = [](int n, int m) { return (n + m - 1) / m * m; };
        cb.cols = roundUp(static_cast<int>(comp.width_in_blocks), comp.h_samp_factor);
        cb.rows = roundUp(static_cast<int>(comp.height_in_blocks), comp.v_samp_factor);
        for (int r = 0; r < cb.rows; ++r) {
            JBLOCKARRAY row = (*cinfo.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&cinfo), arrays[c],
                                                               static_cast<JDIMENSION>(r), 1, FALSE);
            for (int col = 0; col < cb.cols; ++col) {
                model::Block b;
                for (int i = 0; i < 64; ++i) b[i] = static_cast<Lum16s>(row[0][col][i]);
                cb.blocks.push_back(b);
            }
        }
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return out;
}

}  // namespace lumtest
