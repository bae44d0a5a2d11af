-- What neovim's own client sees of vorlix lsp, with the setup of docs/editors.md. Ends with status 0 when all is there.
local failed = false

local function expect(what, found, wanted)
  local text = type(found) == 'string' and found or vim.inspect(found)
  if not text:find(wanted, 1, true) then
    io.stderr:write(what .. ': no ' .. wanted .. ' in ' .. text .. '\n')
    failed = true
  end
end

-- The answer of the server to a request at a place, lines and columns from 1.
local function ask(method, line, column, more)
  local params = { textDocument = vim.lsp.util.make_text_document_params(),
                   position = { line = line - 1, character = column - 1 } }
  local answers = vim.lsp.buf_request_sync(0, method, vim.tbl_extend('force', params, more or {}), 5000)
  for _, answer in pairs(answers or {}) do return answer.result end
end

local function messages()
  return vim.inspect(vim.tbl_map(function(found) return { found.lnum, found.code, found.message } end, vim.diagnostic.get(0)))
end

local function replace(line, text)
  vim.api.nvim_buf_set_lines(0, line - 1, line, false, { text })
end

vim.cmd('edit kunden.dic')
vim.wait(5000, function() return #vim.lsp.buf_get_clients(0) > 0 end)
expect('no findings', messages(), '{}')

-- What is typed and not saved counts.
replace(16, 'FTPY=T')
vim.wait(5000, function() return #vim.diagnostic.get(0) > 0 end)
expect('findings', messages(), 'there is no attribute FTPY')

local whole = { range = { start = { line = 0, character = 0 }, ['end'] = { line = 60, character = 0 } }, context = { diagnostics = {} } }
local fixes = ask('textDocument/codeAction', 16, 1, whole)
expect('fixes', fixes, 'Write FTYP')
vim.lsp.util.apply_workspace_edit(fixes[1].edit, 'utf-16')
expect('the fix', vim.api.nvim_buf_get_lines(0, 15, 16, false), 'FTYP=T')
vim.wait(5000, function() return #vim.diagnostic.get(0) == 0 end)
expect('findings behind the fix', messages(), '{}')

expect('completion', ask('textDocument/completion', 19, 1), 'VALID')
replace(19, 'FFMT=')
expect('completion of letters', ask('textDocument/completion', 19, 6), 'right-aligned')
expect('completion of models', ask('textDocument/completion', 22, 7), 'betrag')
expect('hover on a field', ask('textDocument/hover', 20, 3), '1234.5')
expect('hover on an attribute', ask('textDocument/hover', 21, 2), "the object's path")
expect('definition of a model', ask('textDocument/definition', 22, 8), 'muster.dic')
expect('references', ask('textDocument/references', 22, 8, { context = { includeDeclaration = true } }), 'bestellung.dic')
expect('outline', ask('textDocument/documentSymbol', 1, 1), 'KUNDE')

-- A model that is open here counts as it stands here.
vim.cmd('silent write! | edit muster.dic')
vim.wait(5000, function() return #vim.lsp.buf_get_clients(0) > 0 end)
local text = table.concat(vim.api.nvim_buf_get_lines(0, 0, -1, false), '\n')
vim.api.nvim_buf_set_lines(0, 0, -1, false, vim.split(text:gsub('betrag', 'summe'), '\n'))
local kunden = vim.fn.bufnr('kunden.dic')
vim.wait(5000, function() return #vim.diagnostic.get(kunden) > 1 end)
expect('findings in another file', vim.inspect(vim.diagnostic.get(kunden)), 'there is no model betrag')

vim.cmd(failed and 'cquit' or 'qall!')
