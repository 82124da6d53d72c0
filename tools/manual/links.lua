-- Makes one folder of the documents, which stand in several: links between them lead to the pages that tools/manual.sh
-- makes, and pictures stand beside the pages. "folder" is that of the document, from the root.

local own_names = {
  ["README.md"] = "start.html",
  ["docs/README.md"] = "index.html",
  ["examples/harbour/README.md"] = "harbour.html",
}

-- A path from the root: "docs" and "../README.md" give "README.md".
local function from_root(folder, target)
  local parts = {}
  for part in (folder .. "/" .. target):gmatch("[^/]+") do
    if part == ".." then table.remove(parts) elseif part ~= "." then table.insert(parts, part) end
  end
  return table.concat(parts, "/")
end

function Pandoc(document)
  local folder = pandoc.utils.stringify(document.meta.folder)
  local title
  document = document:walk({
    Header = function(header)
      title = title or pandoc.utils.stringify(header)
    end,
    Link = function(link)
      local file, anchor = link.target:match("^([^#:]+%.md)(.*)$")
      if not file then return end
      local path = from_root(folder, file)
      link.target = (own_names[path] or path:gsub("^docs/(.*)%.md$", "%1.html")) .. anchor
      return link
    end,
    Image = function(image)
      image.src = image.src:match("[^/]+$")
      return image
    end,
    RawBlock = function(block)
      if block.text:match("^<!%-%-") then return {} end
    end,
  })
  document.meta.pagetitle = title
  return document
end
