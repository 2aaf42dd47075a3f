set pagination off
set confirm off
set width 0
set print address off
set debuginfod enabled off
break look
run
up
python print("-- values")
print vector2
print vector3
print vector4
print quaternion
print matrix33
print matrix44
print numbers
print vectors
print none
print empty
print mesh
set print elements 2
print mesh
set print elements 200
print *mesh.octree
print *mesh.uv_lookup_root
print *mesh.octree->triangles.data[1]
print parent
print failed
kill
