// The catalogue of video layouts as compiled into the library. Every model is
// a grid; each "Index_i" is the cell of the i-th participant as
// [first row, end row, first column, end column], the ends exclusive. A grid
// whose "SumCount" is 0 is the model's default, used for every number of
// participants that has no grid of its own. White space is free: only the
// keys below are read.
#include "layout/layout_catalogue.h"

namespace ORVANE {

const char* const layoutConfigText = R"json(
{"LayoutConfig": [
 {"Model": "Layout_Speaker_Auto", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 0, 16], "Index_2": [36, 45, 16, 32], "Index_3": [36, 45, 32, 48],
   "Index_4": [36, 45, 48, 64]},
  {"SumCount": 1, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 45, 0, 64]},
  {"SumCount": 2, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 24, 40]},
  {"SumCount": 3, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 16, 32], "Index_2": [36, 45, 32, 48]},
  {"SumCount": 4, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 8, 24], "Index_2": [36, 45, 24, 40], "Index_3": [36, 45, 40, 56]},
  {"SumCount": 5, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 0, 16], "Index_2": [36, 45, 16, 32], "Index_3": [36, 45, 32, 48],
   "Index_4": [36, 45, 48, 64]}
 ]},
 {"Model": "Layout_Speaker_1TP1B", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 24, 40]}
 ]},
 {"Model": "Layout_Speaker_1TP2H", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 16, 32], "Index_2": [36, 45, 32, 48]}
 ]},
 {"Model": "Layout_Speaker_1TP3H", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 8, 24], "Index_2": [36, 45, 24, 40], "Index_3": [36, 45, 40, 56]}
 ]},
 {"Model": "Layout_Speaker_1TP4H", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 45, "GridColumn": 64, "Width": 64, "Height": 45, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 36, 0, 64], "Index_1": [36, 45, 0, 16], "Index_2": [36, 45, 16, 32], "Index_3": [36, 45, 32, 48],
   "Index_4": [36, 45, 48, 64]}
 ]},
 {"Model": "Layout_Speaker_1TLP5", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 12, "GridColumn": 12, "Width": 1, "Height": 1, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 8, 0, 8], "Index_1": [8, 12, 0, 4], "Index_2": [8, 12, 4, 8], "Index_3": [8, 12, 8, 12],
   "Index_4": [4, 8, 8, 12], "Index_5": [0, 4, 8, 12]}
 ]},
 {"Model": "Layout_Speaker_1TLP7", "Type": "Speaker", "Evolution": [
  {"SumCount": 0, "GridRow": 12, "GridColumn": 12, "Width": 1, "Height": 1, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 9, 0, 9], "Index_1": [9, 12, 0, 3], "Index_2": [9, 12, 3, 6], "Index_3": [9, 12, 6, 9],
   "Index_4": [9, 12, 9, 12], "Index_5": [6, 9, 9, 12], "Index_6": [3, 6, 9, 12], "Index_7": [0, 3, 9, 12]}
 ]},
 {"Model": "Layout_Gallery_Auto", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 4, "GridColumn": 4, "Width": 64, "Height": 36, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4],
   "Index_12": [3, 4, 0, 1], "Index_13": [3, 4, 1, 2], "Index_14": [3, 4, 2, 3], "Index_15": [3, 4, 3, 4]},
  {"SumCount": 1, "GridRow": 1, "GridColumn": 1, "Width": 16, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1]},
  {"SumCount": 2, "GridRow": 1, "GridColumn": 2, "Width": 32, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2]},
  {"SumCount": 3, "GridRow": 2, "GridColumn": 2, "Width": 16, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [1, 2, 0, 1]},
  {"SumCount": 4, "GridRow": 2, "GridColumn": 2, "Width": 32, "Height": 18, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [1, 2, 0, 1], "Index_3": [1, 2, 1, 2]},
  {"SumCount": 5, "GridRow": 2, "GridColumn": 3, "Width": 48, "Height": 18, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2]},
  {"SumCount": 6, "GridRow": 2, "GridColumn": 3, "Width": 48, "Height": 18, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2], "Index_5": [1, 2, 2, 3]},
  {"SumCount": 7, "GridRow": 3, "GridColumn": 3, "Width": 48, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2], "Index_5": [1, 2, 2, 3], "Index_6": [2, 3, 0, 1]},
  {"SumCount": 8, "GridRow": 3, "GridColumn": 3, "Width": 48, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2], "Index_5": [1, 2, 2, 3], "Index_6": [2, 3, 0, 1], "Index_7": [2, 3, 1, 2]},
  {"SumCount": 9, "GridRow": 3, "GridColumn": 3, "Width": 48, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2], "Index_5": [1, 2, 2, 3], "Index_6": [2, 3, 0, 1], "Index_7": [2, 3, 1, 2],
   "Index_8": [2, 3, 2, 3]},
  {"SumCount": 10, "GridRow": 3, "GridColumn": 4, "Width": 64, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2]},
  {"SumCount": 11, "GridRow": 3, "GridColumn": 4, "Width": 64, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3]},
  {"SumCount": 12, "GridRow": 3, "GridColumn": 4, "Width": 64, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4]},
  {"SumCount": 13, "GridRow": 4, "GridColumn": 4, "Width": 64, "Height": 36, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4],
   "Index_12": [3, 4, 0, 1]},
  {"SumCount": 14, "GridRow": 4, "GridColumn": 4, "Width": 64, "Height": 36, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4],
   "Index_12": [3, 4, 0, 1], "Index_13": [3, 4, 1, 2]},
  {"SumCount": 15, "GridRow": 4, "GridColumn": 4, "Width": 64, "Height": 36, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4],
   "Index_12": [3, 4, 0, 1], "Index_13": [3, 4, 1, 2], "Index_14": [3, 4, 2, 3]},
  {"SumCount": 16, "GridRow": 4, "GridColumn": 4, "Width": 64, "Height": 36, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4],
   "Index_12": [3, 4, 0, 1], "Index_13": [3, 4, 1, 2], "Index_14": [3, 4, 2, 3], "Index_15": [3, 4, 3, 4]}
 ]},
 {"Model": "Layout_Gallery_1x1", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 1, "GridColumn": 1, "Width": 16, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1]}
 ]},
 {"Model": "Layout_Gallery_1x2", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 1, "GridColumn": 2, "Width": 32, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2]}
 ]},
 {"Model": "Layout_Gallery_2x1", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 2, "GridColumn": 1, "Width": 16, "Height": 18, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [1, 2, 0, 1]}
 ]},
 {"Model": "Layout_Gallery_2x2", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 2, "GridColumn": 2, "Width": 32, "Height": 18, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [1, 2, 0, 1], "Index_3": [1, 2, 1, 2]}
 ]},
 {"Model": "Layout_Gallery_2x3", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 2, "GridColumn": 3, "Width": 48, "Height": 18, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2], "Index_5": [1, 2, 2, 3]}
 ]},
 {"Model": "Layout_Gallery_3x2", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 3, "GridColumn": 2, "Width": 32, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [1, 2, 0, 1], "Index_3": [1, 2, 1, 2],
   "Index_4": [2, 3, 0, 1], "Index_5": [2, 3, 1, 2]}
 ]},
 {"Model": "Layout_Gallery_3x3", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 3, "GridColumn": 3, "Width": 48, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [1, 2, 0, 1],
   "Index_4": [1, 2, 1, 2], "Index_5": [1, 2, 2, 3], "Index_6": [2, 3, 0, 1], "Index_7": [2, 3, 1, 2],
   "Index_8": [2, 3, 2, 3]}
 ]},
 {"Model": "Layout_Gallery_4x4", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 4, "GridColumn": 4, "Width": 64, "Height": 36, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4],
   "Index_4": [1, 2, 0, 1], "Index_5": [1, 2, 1, 2], "Index_6": [1, 2, 2, 3], "Index_7": [1, 2, 3, 4],
   "Index_8": [2, 3, 0, 1], "Index_9": [2, 3, 1, 2], "Index_10": [2, 3, 2, 3], "Index_11": [2, 3, 3, 4],
   "Index_12": [3, 4, 0, 1], "Index_13": [3, 4, 1, 2], "Index_14": [3, 4, 2, 3], "Index_15": [3, 4, 3, 4]}
 ]},
 {"Model": "Layout_Shared_Auto", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4]},
  {"SumCount": 1, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1]},
  {"SumCount": 2, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2]},
  {"SumCount": 3, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3]},
  {"SumCount": 4, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4]}
 ]},
 {"Model": "Layout_Shared_4H", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4]},
  {"SumCount": 1, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1]},
  {"SumCount": 2, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2]},
  {"SumCount": 3, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3]},
  {"SumCount": 4, "GridRow": 1, "GridColumn": 4, "Width": 64, "Height": 9, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [0, 1, 1, 2], "Index_2": [0, 1, 2, 3], "Index_3": [0, 1, 3, 4]}
 ]},
 {"Model": "Layout_Shared_3V", "Type": "Gallery", "Evolution": [
  {"SumCount": 0, "GridRow": 3, "GridColumn": 1, "Width": 16, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [1, 2, 0, 1], "Index_2": [2, 3, 0, 1]},
  {"SumCount": 1, "GridRow": 3, "GridColumn": 1, "Width": 16, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1]},
  {"SumCount": 2, "GridRow": 3, "GridColumn": 1, "Width": 16, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [1, 2, 0, 1]},
  {"SumCount": 3, "GridRow": 3, "GridColumn": 1, "Width": 16, "Height": 27, "Margin": 0, "Spacing": 0,
   "Index_0": [0, 1, 0, 1], "Index_1": [1, 2, 0, 1], "Index_2": [2, 3, 0, 1]}
 ]}
]}
)json";

}  // namespace ORVANE
