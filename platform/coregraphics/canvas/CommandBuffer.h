#pragma once

#include <initializer_list>
#include <span>
#include <vector>

namespace platform {

/// What the page does on its canvases, with the arguments. The page numbers them in the same order
/// (hosts/web/page/canvas.js).
enum class CanvasCommand {
    create,          ///< canvas, width, height in pixels
    destroy,         ///< canvas
    target,          ///< the canvas of what follows
    save,            ///< its state, and back
    restore,         ///<
    transform,       ///< a b c d tx ty
    fillColor,       ///< red green blue alpha
    strokeColor,     ///< the same
    lineWidth,       ///< in user space
    lineCap,         ///< as CGLineCap
    lineJoin,        ///< as CGLineJoin
    lineDash,        ///< phase, count, lengths
    alpha,           ///< 0..1
    beginPath,       ///<
    moveTo,          ///< x y
    lineTo,          ///< x y
    curveTo,         ///< x y x y x y
    closePath,       ///<
    stroke,          ///< these three clear the path
    fill,            ///<
    clip,            ///<
    clearRect,       ///< x y width height
    beginLayer,      ///< a canvas over this one
    endLayer,        ///<
    linearGradient,  ///< x y x y, count, stops of location red green blue alpha
    radialGradient,  ///< x y radius x y radius, count, stops
    image,           ///< address of pixels as ImageData has them, width, height, x y width height
    bitmap,          ///< canvas, x y width height
    show,            ///< window (a NativeWindow handle), canvas, x y width height in pixels
};

/// Drawing commands for all canvases in their order, each its number and its arguments. The page
/// replays them in one call. Main thread.
class CommandBuffer {
 public:
    static CommandBuffer& shared();

    void put(CanvasCommand command, std::initializer_list<double> arguments = {});
    /// More arguments of the last command.
    void put(std::span<const double> arguments);
    /// The same, behind a target command where the last one was for another canvas.
    void putFor(int canvas, CanvasCommand command, std::initializer_list<double> arguments = {});
    /// Has the page replay what was put since the last call.
    void flush();

 private:
    std::vector<double> words_;
    int target_ = 0;
};

class CGBitmapContext;

/// The number of a bitmap's canvas.
int canvasOf(const CGBitmapContext& bitmap);

}  // namespace platform
