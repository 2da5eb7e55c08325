#!/bin/sh
# Makes the meshes of a box with gmsh: quadratic bricks, wedges and tetrahedra, as universal files and as MSH 2.2 and
# 4.1, as text and as bytes.
set -eu
cd "$(dirname "$0")"
shape=0
for name in brick wedge tetrahedron; do
  shape=$((shape + 1))
  common="-3 -order 2 -setnumber Mesh.SecondOrderIncomplete 1 -setnumber SHAPE $shape -v 2"
  gmsh $common -setnumber GROUPS 0 -format unv box.geo -o "box_$name.unv"
  for version in 2 4; do
    gmsh $common -setnumber GROUPS 1 -format msh$version box.geo -o "box_${name}_$version.msh"
    gmsh $common -setnumber GROUPS 1 -format msh$version -bin box.geo -o "box_${name}_${version}_binary.msh"
  done
done
